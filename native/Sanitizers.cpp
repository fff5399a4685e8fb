// What the sanitizers are told before the program starts.

extern "C" {
const char* __asan_default_options() {
    return "allocator_may_return_null=1:quarantine_size_mb=64:strict_string_checks=1:"
           "malloc_context_size=60:fast_unwind_on_fatal=1";
}

const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}
}
