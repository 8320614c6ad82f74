// vid.stab's motion detection loses a few kilobytes with every frame (1.1.0: 7 at 1920x1080). It is known by
// its name on the way to an allocation, which takes stacks that are walked with care: FFmpeg is built without
// frame pointers. All other leaks are reported.

#if defined(__SANITIZE_ADDRESS__)
#define HAS_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HAS_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef HAS_ADDRESS_SANITIZER
// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizer's own names
extern "C" __attribute__((visibility("default"))) char const* __asan_default_options();
extern "C" __attribute__((visibility("default"))) char const* __lsan_default_suppressions();

char const* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}

char const* __lsan_default_suppressions() {
    return "leak:libvidstab.so\n";
}
// NOLINTEND(bugprone-reserved-identifier)
#endif
