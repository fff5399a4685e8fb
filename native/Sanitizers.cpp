// What the sanitizers are told before the program starts.

extern "C" {
const char* __asan_default_options() { // NOLINT(bugprone-reserved-identifier): their names
    return "allocator_may_return_null=1:quarantine_size_mb=64:strict_string_checks=1:"
           "malloc_context_size=60:fast_unwind_on_fatal=1";
}

const char* __ubsan_default_options() { // NOLINT(bugprone-reserved-identifier): as above
    return "print_stacktrace=1";
}

// Deliberate: records of clients and calls outlive the lists that Deinit destroys, as the host may
// yet ask for what they hold; and a process that is killed leaves what its stack held.
const char* __lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier): as above
    return "leak:FourDPlug::HandleClientConnectOnServer\nleak:FourDPlug::TakeCall\n"
           "leak:Scheduler::Body\n";
}
}
