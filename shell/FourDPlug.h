#pragma once

#include "host/boundary/Calls.h"
#include "host/boundary/PlugInfo.h"
#include "shell/base/GenericList.h"
#include "shell/Commands.h"
#include "shell/ServerCalls.h"

#include <cstdint>
#include <memory>
#include <optional>

/// The plug-in object: derive one class, make one static instance of it, point gFourDPlug at it.
/// It receives every event of the host.
class FourDPlug {
  public:
    /// `info` is kept, not copied; Init fills in its resource fields.
    explicit FourDPlug(PlugInfo* info);

    FourDPlug(const FourDPlug&) = delete;
    FourDPlug& operator=(const FourDPlug&) = delete;

    virtual ~FourDPlug();

    /// As handed to the constructor.
    const PlugInfo* Info() const { return info; }

    /// After the host interface is ready (selectors -1, -200); `init` is the host's record.
    /// Overrides call this one first.
    virtual void Init(PackInitBlock* init);
    /// Costly preparation, run once before the first command that asks for it.
    virtual void BigInit();
    /// Before the plug-in is unloaded (-2, -220). Overrides call this one last.
    virtual void Deinit();
    /// @family A host process has started (-3) or ends (-4). Ends of client processes update the
    /// clients.
    virtual void HandleProcessStart(long process);
    virtual void HandleProcessEnd(long process);
    /// Whether `command` must wait for BigInit. `params` and `result` are what it is to run with.
    virtual bool CommandNeedsBigInit(long command, CXParam* params, CXResult* result);
    /// Whether `command` may run now, with these `params`; when not, its `result` stays as the host
    /// set it.
    virtual bool CanCallCommand(long command, CXParam* params, CXResult* result);
    /// Runs command number `command`, 1 to the command count, with the host's array of parameters,
    /// `params`, and cell for a `result`.
    virtual void HandleCommand(long command, CXParam* params, CXResult* result);

    // On the server.
    /// Whether the client of the connection `cookie` may connect.
    virtual bool CanClientConnectOnServer(unsigned long cookie);
    /// @family A client has connected, or is about to be forgotten. The record stays the
    /// framework's. One whose connection throws is refused and not kept.
    virtual void DoClientConnectOnServer(FourDClient* client);
    virtual void DoClientDisconnectOnServer(FourDClient* client);
    /// A client's call of procedure number `kind`; `data` is a handle that the framework disposes
    /// of.
    virtual void DoProcOnServer(FourDClient* client, short kind, char** data);
    /// A client's call of function number `kind`; `data` as above. `*result` may be given a new
    /// handle, which the framework takes.
    virtual void DoFuncOnServer(FourDClient* client, short kind, char** data, char*** result);
    /// Whether clients identify themselves to the server.
    virtual bool TrackClientsOnServer() = 0;

    // --- Versions (Versions.cpp) ---
    // A `text` or `name` is a Pascal string (256 bytes) or, with a C in the function's name, one
    // with a terminator.

    /// The short product name.
    void zGetProductName(unsigned char* name);
    /// @family A packed version as people write it: 0x01234012 is "1.2.3a18". At most 13
    /// characters.
    static void GetVersionString(unsigned long version, unsigned char* text);
    static void GetVersionCString(unsigned long version, char* text);
    /// @family The plug-in's own version, so written.
    void GetProductVersionString(unsigned char* text);
    void GetProductVersionCString(char* text);
    /// @family The plug-in's version as FourD::VersToVers4D writes it: 8 characters.
    void Get4DStyleVersion(unsigned char* text);
    void Get4DStyleVersionC(char* text);
    /// @family "Nimbo v.1.1".
    void GetProductFullName(unsigned char* name);
    void GetProductFullNameC(char* name);

    // --- Folders (Folders.cpp) ---
    // Result codes are 0, -43 missing, -120 not a folder, -37 a path that cannot be one or made.
    // The answer goes into `out`: paths from Windows take MAX_PATH bytes, those with a `size` in
    // bytes are cut to it. With `create` a missing folder is made. A temporary file's name is made
    // of `base` and `extension`, both zero-terminated.

    /// Specification of the folder that holds the library, in `spec`.
    static OSErr GetPluginParentFolderSpec(FSSpec* spec);
    /// The makers' folder in the host's preferences folder; this form never makes it.
    static OSErr GetTarnwellFolderPathWin(char* out);
    /// The inside of the makers' folder, which is made when it is missing and `create` is set.
    static OSErr GetTarnwellFolderSpec(FSSpec* out, unsigned char create);
    /// The logs folder with a trailing backslash: in the structure folder, else in the makers'. On
    /// a client 0, and `out` stays as it was.
    static OSErr GetLogsFolderPathWin(char* out);
    /// The logs folder: in the library folder, in the structure folder (not on a client), or in the
    /// makers' folder, whichever is a folder first.
    static OSErr GetLogsFolderSpec(FSSpec* out);
    /// Native path of that.
    static OSErr GetLogsFolderPath(char* out, long size);
    /// The plug-in's temporary folder, one for each running host. It keeps its name until Deinit,
    /// which deletes it. An empty specification, and 0, when the system has no temporary folder.
    OSErr GetTempFolderSpec(FSSpec* out, unsigned char create);
    /// Its native path, whether it exists or not.
    OSErr GetTempFolderPath(char* out, long size, unsigned char create);
    /// A free name in the temporary folder, which is made. Success is -43: no such file yet.
    /// An error, also a -43 because a folder is missing, leaves the specification empty.
    OSErr GetTempFileSpec(FSSpec* out, const char* base, const char* extension);
    /// Its native path; success is 0.
    OSErr GetTempFilePath(char* out, long size, const char* base, const char* extension);
    /// @family Do nothing; a plug-in starts its trace itself (DebugTrace.h).
    static void InitDebugLog(long);
    static void DeinitDebugLog();

    // --- Calls to the server's copy (ServerCalls.cpp, ServerRequests.cpp, VersionQuery.cpp) ---
    // On a client, one call at a time: another process's call is waited for. Result codes are the
    // host's, or -10003 and -10033 when the server answers no call identifier.

    /// The next call identifier of the server in `id`; 0 on failure.
    static OSErr GetNextCallIDFromServer(unsigned long* id);
    /// Calls function number `kind` of the server's copy (DoFuncOnServer). `params` stays the
    /// caller's; the answer, `result`, is a new handle that the caller owns, null when there is
    /// none.
    static OSErr CallFuncOnServer(short kind, char** params, char*** result);
    /// The same function with `size` bytes of `data` as its parameters; null is none. `kind` and
    /// `result` as above.
    static OSErr CallFuncOnServer(short kind, void* data, long size, char*** result);
    /// Calls procedure number `kind` (DoProcOnServer), which does not answer, with `params`, which
    /// stay the caller's, or `size` bytes of `data`.
    static OSErr CallProcOnServer(short kind, char** params);
    static OSErr CallProcOnServer(short kind, void* data, long size);
    /// On the server, the client of the connection `cookie`; null when there is none.
    FourDClient* GetClientWithCookie(unsigned long cookie);
    /// The plug-in's version (8 characters) and full name as Pascal strings. With a version of the
    /// form "<cookie>:key" (hexadecimal; user, mach or mach-user) it completes what the server
    /// knows of a client by `name` instead, and writes nothing.
    void GetVersion(unsigned char* version, unsigned char* name);

    /// The one dispatcher behind the entry points, with what they are called with: `selector`,
    /// `params`, `result` and `data` (shell/Entry.h). Nothing thrown leaves it.
    static void PlugMain(long selector, CXParam* params, CXResult* result, long* data);

    /// @family List comparisons: a `client` (FourDClient) with the cookie (unsigned long*) or the
    /// process number (long*) that `key` points to, a `call` (ServerCall) with the identifier of a
    /// ReadWriteBlock.
    static bool CompareClient(void* client, void* key);
    static bool CompareClientProcess(void* client, void* key);
    static bool CompareServerCall(void* call, void* key);

  protected:
    PlugInfo* info;
    bool bigInitDone = false;
    long lastCallID = 0;        ///< identifier last handed to a client
    List serverCalls = nullptr; ///< pending function calls
    List clients = nullptr;     ///< connected clients (FourDClient)

  private:
    void HandleOther(long selector, CXParam* params, CXResult* result);
    void HandleEvent(long selector, void* argument, std::uint32_t* result);
    void DestroyLists();
    void DeleteTempFolder();
    /// Takes a client out of the list and frees it, unless the list has lost it meanwhile: a hook
    /// may let other processes run, and one of them may have been here before.
    struct ClientRemover {
        FourDPlug* plug;
        unsigned long cookie;
        void operator()(FourDClient* client) const;
    };
    void ForgetClient(FourDClient* client);
    char* HandOutCallID(ReadWriteBlock* block);
    void TakeBackCallID(const char* answer);
    void TakeCall(FourDClient* client, const ReadWriteBlock* block, const char* data, long size);
    void EndCall(ServerCall* call);
    void ReleaseCall(ServerCall* call);

    // Requests to the server's copy (-201 to -207).
    bool HandleClientConnectOnServer(ReadWriteBlock* block);
    void HandleClientDisconnectOnServer(ReadWriteBlock* block);
    char* HandleReadOnServer(ReadWriteBlock* block);
    void HandleWriteOnServer(ReadWriteBlock* block, char* data);
    void HandleCleanupOnServer(ReadWriteBlock* block, char* data);

    char callIDAnswer[4]; ///< big-endian, while it is handed out
    bool callIDHandedOut = false;
    std::unique_ptr<ServerCall> spareCall;         ///< the last one that is over, for the next one
    std::optional<unsigned long> tempFolderWindow; ///< in the folder's name, from its first use on
};

/// The library's one plug-in object. Defined by the plug-in, statically initialised. While it is
/// null no selector has any effect.
extern FourDPlug* gFourDPlug;
