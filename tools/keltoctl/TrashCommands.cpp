#include <memory>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Confirmation.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingChange.hpp"
#include "tools/keltoctl/ThingTexts.hpp"

namespace kelto::ctl {

namespace {

struct TrashOptions {
    std::vector<std::string> ids;
    bool dryRun = false;
    bool yes = false;  ///< delete: do not ask
};

int runTrash(Host& host, const TrashOptions& options) {
    Session& session = host.sessionFor(options.dryRun);
    ThingChange change;
    for (const ThingRecord* stored : session.snapshot().eachThing(options.ids)) {
        ThingRecord thing = changing(*stored);
        if (!thing.trashedAt) thing.trashedAt = thing.updatedAt;
        change.add(thing);
    }
    return change.send(host, session, "Put into the trash:", options.dryRun);
}

int runRestore(Host& host, const TrashOptions& options) {
    Session& session = host.sessionFor(options.dryRun);
    ThingChange change;
    for (const ThingRecord* stored : session.snapshot().eachThing(options.ids)) {
        ThingRecord thing = changing(*stored);
        thing.trashedAt.reset();
        change.add(thing);
    }
    return change.send(host, session, "Restored", options.dryRun);
}

/// "Delete “Evening” and 2 others for good?"
std::string question(const std::vector<Item>& items) {
    std::string text = "Delete “" + terminalSafe(shownName(items.front())) + "”";
    if (items.size() > 1) text += " and " + counted(items.size() - 1, "other");
    return text + " for good?";
}

int runDelete(Host& host, const TrashOptions& options) {
    Session& session = host.sessionFor(options.dryRun);
    const std::vector<Item> items = session.snapshot().eachItem(options.ids);
    if (!options.dryRun) confirm(question(items), options.yes);
    ThingChange change;
    for (const Item& item : items) change.remove(item);
    return change.send(host, session, "Deleted", options.dryRun);
}

std::shared_ptr<TrashOptions> addOne(CLI::App& app,
                                     Command& chosen,
                                     const char* name,
                                     const char* description,
                                     int (*run)(Host&, const TrashOptions&)) {
    auto options = std::make_shared<TrashOptions>();
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("ID", options->ids, "Identifiers, or the beginnings of them")->required();
    addDryRun(*command, options->dryRun);
    command->callback([&chosen, options, run] {
        chosen = [options, run](Host& host) { return run(host, *options); };
    });
    return options;
}

}  // namespace

void addTrashCommands(CLI::App& app, Command& chosen) {
    addOne(app, chosen, "trash", "Put things into the trash", &runTrash);
    addOne(app, chosen, "restore", "Take things out of the trash", &runRestore);
    const auto deleting = addOne(app,
                                 chosen,
                                 "delete",
                                 "Delete things, tags or projects for good, after asking; what "
                                 "lies in a project stays",
                                 &runDelete);
    app.get_subcommand("delete")->add_flag("--yes", deleting->yes, "Do not ask");
}

}  // namespace kelto::ctl
