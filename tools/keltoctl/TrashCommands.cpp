#include <memory>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/ThingChange.hpp"

namespace kelto::ctl {

namespace {

using Identifiers = std::vector<std::string>;

int runTrash(Host& host, const Identifiers& ids) {
    Session& session = host.freshSession();
    ThingChange change;
    for (const std::string& id : ids) {
        ThingRecord thing = changing(session.snapshot().thing(id));
        if (!thing.trashedAt) thing.trashedAt = thing.updatedAt;
        change.add(thing);
    }
    return change.send(host, session, "Put into the trash:");
}

int runRestore(Host& host, const Identifiers& ids) {
    Session& session = host.freshSession();
    ThingChange change;
    for (const std::string& id : ids) {
        ThingRecord thing = changing(session.snapshot().thing(id));
        thing.trashedAt.reset();
        change.add(thing);
    }
    return change.send(host, session, "Restored");
}

int runDelete(Host& host, const Identifiers& ids) {
    Session& session = host.freshSession();
    ThingChange change;
    for (const std::string& id : ids) change.remove(session.snapshot().item(id));
    return change.send(host, session, "Deleted");
}

void addOne(CLI::App& app,
            Command& chosen,
            const char* name,
            const char* description,
            int (*run)(Host&, const Identifiers&)) {
    auto ids = std::make_shared<Identifiers>();
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("ID", *ids, "Identifiers, or the beginnings of them")->required();
    command->callback(
        [&chosen, ids, run] { chosen = [ids, run](Host& host) { return run(host, *ids); }; });
}

}  // namespace

void addTrashCommands(CLI::App& app, Command& chosen) {
    addOne(app, chosen, "trash", "Put things into the trash", &runTrash);
    addOne(app, chosen, "restore", "Take things out of the trash", &runRestore);
    addOne(app,
           chosen,
           "delete",
           "Delete things, tags or projects for good; what lies in a project stays",
           &runDelete);
}

}  // namespace kelto::ctl
