#include <algorithm>
#include <memory>
#include <optional>

#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Refusal.hpp"
#include "tools/keltoctl/ThingChange.hpp"

namespace kelto::ctl {

namespace {

struct EditOptions {
    std::string id;
    std::optional<std::string> title;
    std::optional<std::string> subtitle;
    std::optional<std::string> content;
    std::optional<std::string> note;
    std::optional<std::string> url;
    std::optional<std::string> author;
    std::optional<std::string> file;
    std::optional<std::string> thumbnail;
    std::optional<std::string> icon;
    bool star = false;
    bool unstar = false;
    bool noFile = false;
    bool noThumbnail = false;
    bool noIcon = false;
    bool dryRun = false;

    /// Whether anything is asked for that only a thing has.
    [[nodiscard]] bool concernsThings() const {
        return subtitle || content || note || url || author || file || thumbnail || icon || star ||
               unstar || noFile || noThumbnail || noIcon;
    }
};

void setTexts(ThingRecord& thing, const EditOptions& options) {
    if (options.title) thing.title = *options.title;
    if (options.subtitle) thing.subtitle = *options.subtitle;
    if (options.content) thing.content = textOrInput(*options.content);
    if (options.note) thing.note = textOrInput(*options.note);
    if (options.author)
        thing.metadataJson = mergedMetadata(thing.metadataJson, {{"author", *options.author}});
    if (options.star) thing.isStarred = true;
    if (options.unstar) thing.isStarred = false;
    if (!options.url) return;
    const FileDraft draft = draftOfAddress(*options.url);
    thing.urlString = draft.urlString;
    thing.metadataJson = mergedMetadata(thing.metadataJson, draft.metadata);
    const auto kind = thingKind(thing.kind);
    if (kind && isLinkBacked(*kind)) thing.kind = rawValue(draft.kind);
}

void setPayloads(ThingRecord& thing, const EditOptions& options, IncomingFolder& incoming) {
    if (options.noFile) {
        thing.data.reset();
        thing.fileName.clear();
        thing.typeIdentifier.clear();
        thing.fileSize = 0;
    }
    if (options.noThumbnail) thing.thumbnail.reset();
    if (options.noIcon) thing.icon.reset();
    if (options.file) attachFile(thing, *options.file, incoming);
    if (options.thumbnail)
        thing.thumbnail = incoming.add(*options.thumbnail, thing.id + ".thumbnail").path;
    if (options.icon) thing.icon = incoming.add(*options.icon, thing.id + ".icon").path;
}

int runEdit(Host& host, const EditOptions& options) {
    if (!options.title && !options.concernsThings())
        throw WrongUsage("nothing to change; name a field, such as --title TEXT.");
    Session& session = host.sessionFor(options.dryRun);
    const Item item = session.snapshot().item(options.id);
    ThingChange change;
    IncomingFolder incoming(session.state().exchangeFolder());
    if (item.thing == nullptr && options.concernsThings())
        throw WrongUsage("a project or a tag has only a name; change it with --title NAME.");
    if (item.thing != nullptr) {
        ThingRecord thing = changing(*item.thing);
        setTexts(thing, options);
        setPayloads(thing, options, incoming);
        change.add(thing);
    } else if (item.project != nullptr) {
        ProjectRecord project = *item.project;
        project.name = *options.title;
        change.add(project);
    } else {
        TagRecord tag = *item.tag;
        tag.name = *options.title;
        change.add(tag);
    }
    return change.send(host, session, "Changed", options.dryRun);
}

struct TagOptions {
    std::vector<std::string> ids;
    std::vector<std::string> added;
    std::vector<std::string> removed;
    bool dryRun = false;
};

int runTag(Host& host, const TagOptions& options) {
    if (options.added.empty() && options.removed.empty())
        throw WrongUsage("nothing to change; write --add NAME or --remove NAME.");
    Session& session = host.sessionFor(options.dryRun);
    const Snapshot& snapshot = session.snapshot();
    std::vector<std::string> removed;
    for (const std::string& name : options.removed) {
        const TagRecord* tag = snapshot.findTagNamed(name);
        if (tag == nullptr)
            throw Refusal("no tag is called “" + name + "”; “keltoctl tree” shows the tags.");
        removed.push_back(tag->id);
    }
    const TagsByName added = tagsByName(snapshot, options.added, Host::nowMilliseconds());
    ThingChange change;
    for (const TagRecord& tag : added.added) change.add(tag);
    for (const ThingRecord* stored : snapshot.eachThing(options.ids)) {
        ThingRecord thing = changing(*stored);
        const auto has = [](const std::vector<std::string>& tags, const std::string& tag) {
            return std::find(tags.begin(), tags.end(), tag) != tags.end();
        };
        std::erase_if(thing.tags, [&](const std::string& tag) { return has(removed, tag); });
        for (const std::string& tag : added.ids)
            if (!has(thing.tags, tag)) thing.tags.push_back(tag);
        change.add(thing);
    }
    return change.send(host, session, "Tagged", options.dryRun);
}

struct MoveOptions {
    std::vector<std::string> ids;
    std::optional<std::string> project;
    bool top = false;
    bool dryRun = false;
};

int runMove(Host& host, const MoveOptions& options) {
    if (options.project.has_value() == options.top)
        throw WrongUsage("say where to: --project NAME, or --top.");
    Session& session = host.sessionFor(options.dryRun);
    const Snapshot& snapshot = session.snapshot();
    std::optional<std::string> target;
    if (options.project) target = snapshot.project(*options.project).id;
    ThingChange change;
    for (const Item& item : snapshot.eachItem(options.ids)) {
        if (item.tag != nullptr)
            throw Refusal("“" + item.tag->name + "” is a tag and has no place.");
        if (item.thing != nullptr) {
            ThingRecord thing = changing(*item.thing);
            thing.project = target;
            change.add(thing);
        } else {
            ProjectRecord project = *item.project;
            project.parent = target;
            change.add(project);
        }
    }
    return change.send(host, session, "Moved", options.dryRun);
}

void addEdit(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<EditOptions>();
    CLI::App* edit = app.add_subcommand("edit", "Change the fields of a thing, or rename");
    edit->add_option("ID", options->id, "Its identifier, or the beginning of it")->required();
    edit->add_option("--title", options->title, "Title; the name of a project or a tag")
        ->type_name("TEXT");
    edit->add_option("--subtitle", options->subtitle, "Second line")->type_name("TEXT");
    edit->add_option("--content", options->content, "Text; - reads it from standard input")
        ->type_name("TEXT");
    edit->add_option("--note", options->note, "Your remark; - reads it from standard input")
        ->type_name("TEXT");
    edit->add_option("--url", options->url, "Web address")->type_name("URL");
    edit->add_option("--author", options->author, "Author of a quote or post")->type_name("NAME");
    CLI::Option* star = edit->add_flag("--star", options->star, "Give it a star");
    edit->add_flag("--unstar", options->unstar, "Take its star away")->excludes(star);
    CLI::Option* file =
        edit->add_option("--file", options->file, "File that takes its file's place")
            ->type_name("FILE");
    edit->add_flag("--no-file", options->noFile, "Take its file away")->excludes(file);
    CLI::Option* thumbnail =
        edit->add_option("--thumbnail", options->thumbnail, "Thumbnail image")->type_name("FILE");
    edit->add_flag("--no-thumbnail", options->noThumbnail, "Take its thumbnail away")
        ->excludes(thumbnail);
    CLI::Option* icon = edit->add_option("--icon", options->icon, "Icon image")->type_name("FILE");
    edit->add_flag("--no-icon", options->noIcon, "Take its icon away")->excludes(icon);
    addDryRun(*edit, options->dryRun);
    edit->footer("Of a project or a tag, --title changes the name.");
    edit->callback(
        [&chosen, options] { chosen = [options](Host& host) { return runEdit(host, *options); }; });
}

}  // namespace

void addEditingCommands(CLI::App& app, Command& chosen) {
    addEdit(app, chosen);

    auto tagging = std::make_shared<TagOptions>();
    CLI::App* tag = app.add_subcommand("tag", "Put tags on things, or take them off");
    tag->add_option("ID", tagging->ids, "Things")->required();
    tag->add_option("--add", tagging->added, "A tag to put on (repeatable)")
        ->type_name("TAG")
        ->allow_extra_args(false);
    tag->add_option("--remove", tagging->removed, "A tag to take off (repeatable)")
        ->type_name("TAG")
        ->allow_extra_args(false);
    addDryRun(*tag, tagging->dryRun);
    tag->callback(
        [&chosen, tagging] { chosen = [tagging](Host& host) { return runTag(host, *tagging); }; });

    auto moving = std::make_shared<MoveOptions>();
    CLI::App* move = app.add_subcommand("move", "Move things or projects");
    move->add_option("ID", moving->ids, "Things or projects")->required();
    CLI::Option* project =
        move->add_option("--project", moving->project, "Into this project")->type_name("PROJECT");
    move->add_flag("--top", moving->top, "Out of all projects")->excludes(project);
    addDryRun(*move, moving->dryRun);
    move->callback(
        [&chosen, moving] { chosen = [moving](Host& host) { return runMove(host, *moving); }; });
}

}  // namespace kelto::ctl
