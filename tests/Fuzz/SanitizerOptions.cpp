// What the sanitizers are told where their environment says nothing else.

// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizers' own names
extern "C" char const* __asan_default_options();
extern "C" char const* __lsan_default_options();
extern "C" char const* __ubsan_default_options();

char const* __asan_default_options() {
    return "detect_stack_use_after_return=1:check_initialization_order=1:strict_string_checks=1:"
           "fast_unwind_on_malloc=" TARSEL_FAST_STACKS;
}

char const* __lsan_default_options() {
    return "suppressions=" TARSEL_LEAKS ":print_suppressions=0";
}

char const* __ubsan_default_options() {
    return "print_stacktrace=1";
}
// NOLINTEND(bugprone-reserved-identifier)
