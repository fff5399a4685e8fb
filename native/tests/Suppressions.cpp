// Deliberate: records of clients and calls outlive the lists that Deinit destroys, as the host may
// yet ask for what they hold. Tests leave some in the lists.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:FourDPlug::HandleClientConnectOnServer\nleak:FourDPlug::TakeCall\n";
}
