#include "testhost/plugins/Library.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Parsers.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <filesystem>

namespace {
// A host of a script with a copy of the plug-in, which is a module of its own.
struct FurtherHost {
    FurtherHost(Stage& stage, std::string name, const std::filesystem::path& dll,
                HostOptions options)
        : library(dll, stage.recorder.For(dll)),
          host(std::move(options)),
          session(host, library.Entries()),
          player(session, stage, std::move(name)) {
        player.libraryFolder = library.Folder();
    }

    PluginLibrary library;
    Host host;
    Session session;
    Player player;
};

// "C:\Scratch\Tour-anna.dll" for "Tour.dll".
std::filesystem::path CopyFor(const std::string& name, const std::filesystem::path& file,
                              const std::filesystem::path& folder) {
    std::filesystem::path copy = folder / file.stem();
    copy += "-" + name;
    copy += file.extension();
    std::error_code error;
    std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing,
                               error);
    if (error) {
        throw ScriptError(Shown(file) + " cannot be copied to " + Shown(copy));
    }
    return copy;
}

Player* FindPlayer(const Stage& stage, const std::string& name) {
    const auto found = std::ranges::find(stage.players, name, &Player::name);
    return found != stage.players.end() ? *found : nullptr;
}

// File names are made of it.
std::string TakeHostName(Words& words) {
    std::string name = words.TakeString("the host's name");
    const auto isPlain = [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') || character == '-' || character == '_';
    };
    if (name.empty() || name.size() > 31 || !std::ranges::all_of(name, isPlain)) {
        throw ScriptError("a host's name has 1 to 31 letters, digits, '-' and '_'");
    }
    return name;
}

unsigned short TakeVersion(Words& words) {
    const auto version = ParseHostVersion(words.TakeWord("a version"));
    if (!version) {
        throw ScriptError("a version is 6.0 to 12.x, such as 11.3");
    }
    return *version;
}

// Runs `act` with the player of this host, or fails when there is none.
template <typename Act>
Action WithHost(std::string name, Act act) {
    return [name = std::move(name), act](Player& player) {
        Player* named = FindPlayer(player.stage, name);
        if (named == nullptr) {
            return player.Fail("there is no host " + Quoted(name));
        }
        act(player, *named);
    };
}

void AddHost(Player& player, const std::string& name, Role role, unsigned short version) {
    Stage& stage = player.stage;
    const Player& first = *stage.players.front();
    if (FindPlayer(stage, name) != nullptr) {
        return player.Fail("there already is a host " + Quoted(name));
    }
    if (role == Role::Server && stage.network.Server() != nullptr) {
        return player.Fail("there already is a server");
    }
    if (stage.plugin.empty()) {
        return player.Fail("there is no file of the plug-in that could be copied");
    }
    const std::filesystem::path folder = FromAnsi(first.host.ScratchPath());
    HostOptions options{.version = version != 0 ? version : first.host.options.version,
                        .role = role};
    options.scheduler = first.host.scheduler;
    if (!stage.resources.empty()) {
        const std::filesystem::path copy = CopyFor(name, stage.resources, folder);
        if (ToolboxOpenResFile(copy.wstring().c_str(), &options.pluginResFile) != 0) {
            return player.Fail(Shown(copy) + " cannot be opened");
        }
    }
    try {
        const auto added = std::make_shared<FurtherHost>(
            stage, name, CopyFor(name, stage.plugin, folder), std::move(options));
        stage.further.push_back(added);
        stage.current = &added->player;
        if (role == Role::Server) {
            stage.network.SetServer(added->session);
        }
    } catch (const PluginLoadError& error) {
        player.Fail(error.what());
    }
}
} // namespace

Action ParseHostStatement(Words& words) {
    const std::string name = TakeHostName(words);
    words.Take("role");
    const bool isServer = words.TakeIf("server");
    if (!isServer && !words.TakeIf("client")) {
        throw ScriptError("the role of a further host is 'server' or 'client'");
    }
    unsigned short version = 0; // that of the script's own host
    if (words.TakeIf("version")) {
        version = TakeVersion(words);
    }
    return [=](Player& player) {
        AddHost(player, name, isServer ? Role::Server : Role::Client, version);
    };
}

Action ParseSetVersion(Words& words) {
    return [version = TakeVersion(words)](Player& player) {
        if (player.session.wasStarted) {
            return player.Fail("a host has its version before the plug-in starts");
        }
        if (!player.host.SetVersion(version)) {
            player.Fail("a host has its version before its variables are set");
        }
    };
}

Action ParseSetRole(Words& words) {
    constexpr std::string_view names[] = {"single", "client", "server"}; // in the order of Role
    const auto* name =
        std::ranges::find_if(names, [&](std::string_view each) { return words.TakeIf(each); });
    if (name == std::end(names)) {
        throw ScriptError("a host's role is single, client or server");
    }
    return [role = static_cast<Role>(name - std::begin(names))](Player& player) {
        if (player.session.wasStarted) {
            return player.Fail("a host has its role before the plug-in starts");
        }
        if (!player.name.empty()) {
            return player.Fail("a further host keeps the role that it was made with");
        }
        player.host.options.role = role;
    };
}

Action ParseOn(Words& words) {
    return WithHost(TakeHostName(words),
                    [](Player& player, Player& named) { player.stage.current = &named; });
}

Action ParseConnect(Words& words) {
    std::string name = TakeHostName(words);
    const bool refused = words.TakeIf("refused");
    return WithHost(std::move(name), [refused](Player& player, Player& client) {
        const bool letIn = player.stage.network.Connect(client.host, client.name);
        player.Expect(letIn != refused,
                      "the client to be " + std::string(refused ? "refused" : "let in"),
                      letIn ? "it was let in" : "it was not");
    });
}

Action ParseDisconnect(Words& words) {
    return WithHost(TakeHostName(words), [](Player& player, Player& client) {
        if (!player.stage.network.Disconnect(client.host)) {
            player.Fail("the client is not connected");
        }
    });
}

Action ParseNetwork(Words& words) {
    using Kind = NetworkFault::Kind;
    NetworkFault fault;
    if (words.TakeIf("pass")) {
        fault.kind = Kind::None;
    } else if (words.TakeIf("delay")) {
        fault = {Kind::Delay, words.TakeNumber("a number of ticks", 0)};
    } else if (words.TakeIf("drop")) {
        fault = {Kind::Drop, words.TakeNumber("the result code for the client", -0x8000, 0x7FFF)};
    } else if (words.TakeIf("cut")) {
        fault = {Kind::Cut, words.TakeNumber("how many bytes arrive", 0)};
    } else if (words.TakeIf("corrupt")) {
        fault = {Kind::Corrupt, words.TakeNumber("a seed", 0)};
    } else {
        throw ScriptError("expected 'pass', 'delay', 'drop', 'cut' or 'corrupt'");
    }
    return [fault](Player& player) { player.stage.network.FaultNext(fault); };
}
