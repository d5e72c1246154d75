#include <cstdio>
#include <memory>

#include "kelto/foundation/PlatformError.hpp"
#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Moment.hpp"
#include "tools/keltoctl/PrivateFile.hpp"
#include "tools/keltoctl/RecordFields.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/StandardStreams.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingChange.hpp"
#include "tools/keltoctl/ThingDocument.hpp"

namespace kelto::ctl {

namespace {

std::string lines(std::string_view what, const std::vector<Difference::Entry>& entries) {
    std::string text;
    for (const Difference::Entry& entry : entries)
        text += std::string(what) + spokenRecord(entry.recordType, entry.name, entry.id) + "\n";
    return text;
}

int exchangeAll(Host& host) {
    Session& session = host.session();
    const ExchangeReport report = session.sendAll();
    std::string text = lines("+ ", report.difference.added) +
                       lines("~ ", report.difference.changed) + lines("- ", report.difference.gone);
    if (report.difference.isEmpty()) text = "Both sides held the same.\n";
    host.print(text + sentence(report) + ".\n", toJson(report));
    return exitStatus::done;
}

}  // namespace

std::string requestText(const std::string& file) {
    std::string request;
    if (file == "-") {
        request = standardInput();
    } else {
        auto text = readNamedFile(file);
        if (!text) throw Refusal("there is no file “" + file + "”; name one with a request.");
        request = *std::move(text);
    }
    if (request.find('\0') != std::string::npos)
        throw Refusal("the request holds a NUL byte, where it would end; write it as \\u0000.");
    return request;
}

namespace {

/// Passes a request on as it stands, and the answer back as it stands.
int exchangeRaw(Host& host, const std::string& file) {
    const std::string response = host.library().exchange(requestText(file));
    std::fwrite(response.data(), 1, response.size(), stdout);
    std::fputc('\n', stdout);
    const JsonValue answer = JsonValue::parse(response);
    const JsonValue* error = answer.member("error");
    if (error == nullptr) return exitStatus::done;
    throw Refusal(error->string() != nullptr ? *error->string() : "the exchange failed.");
}

int runStatus(Host& host) {
    const std::string store = host.storePath();
    Session& session = host.freshSession();
    const Snapshot& snapshot = session.snapshot();
    const auto lastSync = snapshot.lastSync();
    JsonMembers document{{"storePath", store},
                         {"stateFolder", session.state().folder()},
                         {"exchangeFolder", session.state().exchangeFolder()},
                         {"status", snapshot.status()},
                         {"cloudAvailable", host.library().cloudAvailable()},
                         {"projects", static_cast<std::int64_t>(snapshot.projects().size())},
                         {"tags", static_cast<std::int64_t>(snapshot.tags().size())},
                         {"things", static_cast<std::int64_t>(snapshot.things().size())}};
    if (lastSync) {
        document.emplace_back("lastSync", *lastSync);
        if (std::string text = isoTime(*lastSync); !text.empty())
            document.emplace_back("lastSyncTime", std::move(text));
    }
    host.print("Status     " + terminalSafe(snapshot.status()) + "\nLast sync  " +
                   (lastSync ? localTime(*lastSync) : "never") + "\nHolds      " +
                   counted(snapshot.things().size(), "thing") + ", " +
                   counted(snapshot.projects().size(), "project") + ", " +
                   counted(snapshot.tags().size(), "tag") + "\nStore      " + terminalSafe(store) +
                   "\nOwn files  " + terminalSafe(session.state().folder()) + "\n",
               document);
    return exitStatus::done;
}

int runGroupPath(Host& host) {
    const auto path = host.library().groupPath();
    if (!path) (void)host.storePath();  // says why there is none
    host.print(*path + "\n", JsonMembers{{"groupPath", *path}});
    return exitStatus::done;
}

int runAvailable(Host& host) {
    const bool available = host.library().cloudAvailable();
    host.print(available ? "yes\n" : "no\n", JsonMembers{{"available", available}});
    if (available) return exitStatus::done;
    throw Refusal(
        "cloud sync may not be used; unset KELTO_DISABLE_CLOUDKIT and KELTO_CLOUDKIT_ENABLED, or "
        "build the library with the cloud entitlements.");
}

}  // namespace

void addExchangeCommands(CLI::App& app, Command& chosen) {
    struct ExchangeOptions {
        std::string file;
        bool dryRun = false;
    };
    auto options = std::make_shared<ExchangeOptions>();
    CLI::App* exchange = app.add_subcommand(
        "exchange", "Send all that this host knows; or a request as it stands in a file");
    exchange->add_option("FILE", options->file, "A request; - reads it from standard input");
    exchange->footer(
        "Without a file, everything that this host knows is sent, and what the answer holds "
        "otherwise is shown. A request from a file is passed on as it stands, and the answer is "
        "printed as it stands.");
    addDryRun(*exchange, options->dryRun);
    exchange->callback([&chosen, options] {
        chosen = [options](Host& host) {
            const std::string& file = options->file;
            if (!options->dryRun) return file.empty() ? exchangeAll(host) : exchangeRaw(host, file);
            return explainRequest(host,
                                  file.empty() ? host.session().requestOfAll() : requestText(file));
        };
    });
    app.add_subcommand("status", "Show the sync status, and where things are")->callback([&chosen] {
        chosen = &runStatus;
    });
    app.add_subcommand("group-path", "Print the folder that holds the store")->callback([&chosen] {
        chosen = &runGroupPath;
    });
    app.add_subcommand("available", "Say whether cloud sync may be used")->callback([&chosen] {
        chosen = &runAvailable;
    });
}

}  // namespace kelto::ctl
