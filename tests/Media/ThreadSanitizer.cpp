// FFmpeg is not built with the sanitizer, which therefore does not see how its frame threads hand their
// buffers over and takes every release for a race. Everything else is reported.

#if defined(__SANITIZE_THREAD__)
#define HAS_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define HAS_THREAD_SANITIZER 1
#endif
#endif

#ifdef HAS_THREAD_SANITIZER
extern "C" __attribute__((visibility("default"), no_sanitize("thread"))) char const*
__tsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier): the sanitizer's own name

char const* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:libavutil.so\nrace:libavcodec.so\n";
}
#endif
