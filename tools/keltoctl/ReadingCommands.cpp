#include <algorithm>
#include <memory>
#include <optional>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/LibraryTree.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/TerminalText.hpp"
#include "tools/keltoctl/ThingDocument.hpp"
#include "tools/keltoctl/ThingTexts.hpp"
#include "tools/keltoctl/TreePrinter.hpp"

namespace kelto::ctl {

namespace {

struct ListFilter {
    std::optional<std::string> kind;
    std::optional<std::string> tag;
    std::optional<std::string> project;
    std::optional<std::string> search;
    bool starred = false;
    bool trashed = false;
};

void addInOrder(const LibraryBranch& branch, std::vector<const ThingRecord*>& things) {
    for (const LibraryBranch& child : branch.children) addInOrder(child, things);
    things.insert(things.end(), branch.things.begin(), branch.things.end());
}

std::vector<const ThingRecord*> matchingThings(const Snapshot& snapshot, const ListFilter& filter) {
    const TagRecord* tag = filter.tag ? snapshot.findTagNamed(*filter.tag) : nullptr;
    if (filter.tag && tag == nullptr)
        throw Refusal("no tag is called “" + *filter.tag + "”; “keltoctl tree” shows the tags.");
    const ProjectRecord* project = filter.project ? &snapshot.project(*filter.project) : nullptr;
    const std::string words = filter.search ? folded(*filter.search) : "";

    std::vector<const ThingRecord*> things;
    addInOrder(libraryTree(snapshot), things);
    std::erase_if(things, [&](const ThingRecord* thing) {
        if (thing->trashedAt.has_value() != filter.trashed) return true;
        if (filter.starred && !thing->isStarred) return true;
        if (filter.kind && rawValue(kindOf(*thing)) != *filter.kind) return true;
        if (tag != nullptr &&
            std::find(thing->tags.begin(), thing->tags.end(), tag->id) == thing->tags.end())
            return true;
        if (project != nullptr &&
            (!thing->project || !snapshot.liesIn(*thing->project, project->id)))
            return true;
        return !words.empty() &&
               foldedSearchText(snapshot, *thing).find(words) == std::string::npos;
    });
    return things;
}

int runTree(Host& host) {
    const Snapshot& snapshot = host.freshSession().snapshot();
    if (host.wantsJson())
        host.print("", treeDocument(snapshot));
    else
        host.print(printedTree(snapshot, host.appearance()), {});
    return exitStatus::done;
}

int runList(Host& host, const ListFilter& filter) {
    const Snapshot& snapshot = host.freshSession().snapshot();
    const auto things = matchingThings(snapshot, filter);
    JsonElements documents;
    for (const ThingRecord* thing : things) documents.push_back(thingDocument(snapshot, *thing));
    host.print(printedList(snapshot, things, host.appearance()),
               JsonMembers{{"things", std::move(documents)}});
    return exitStatus::done;
}

int runShow(Host& host, const std::string& id) {
    const Snapshot& snapshot = host.freshSession().snapshot();
    const Item item = snapshot.item(id);
    host.print(printedItem(snapshot, item, host.appearance()), itemDocument(snapshot, item));
    return exitStatus::done;
}

}  // namespace

void addReadingCommands(CLI::App& app, Command& chosen) {
    app.add_subcommand("tree", "Show the whole library")->callback([&chosen] {
        chosen = [](Host& host) { return runTree(host); };
    });

    std::vector<std::string> kinds;
    kinds.reserve(allThingKinds.size());
    for (const ThingKind kind : allThingKinds) kinds.emplace_back(rawValue(kind));
    auto filter = std::make_shared<ListFilter>();
    CLI::App* list = app.add_subcommand("list", "List things");
    list->add_option("--kind", filter->kind, "Only this kind")
        ->type_name("KIND")
        ->check(oneOf(kinds));
    list->add_option("--tag", filter->tag, "Only things with this tag")->type_name("TAG");
    list->add_option("--project", filter->project, "Only things in this project or below it")
        ->type_name("PROJECT");
    list->add_option("--search", filter->search, "Only things whose texts hold this")
        ->type_name("TEXT");
    list->add_flag("--starred", filter->starred, "Only things with a star");
    list->add_flag("--trashed", filter->trashed, "The things in the trash instead");
    list->callback(
        [&chosen, filter] { chosen = [filter](Host& host) { return runList(host, *filter); }; });

    auto id = std::make_shared<std::string>();
    CLI::App* show = app.add_subcommand("show", "Show everything of a thing, project or tag");
    show->add_option("ID", *id, "Its identifier, or the beginning of it")->required();
    show->callback([&chosen, id] { chosen = [id](Host& host) { return runShow(host, *id); }; });
}

}  // namespace kelto::ctl
