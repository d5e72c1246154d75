#include <memory>
#include <optional>

#include "kelto/foundation/FilePath.hpp"
#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/Commands.hpp"
#include "tools/keltoctl/Identifier.hpp"
#include "tools/keltoctl/ThingChange.hpp"

namespace kelto::ctl {

namespace {

struct AddOptions {
    std::string subject;  ///< the text, the address or the path
    std::string title;
    std::string author;
    std::string note;
    std::optional<std::string> project;
    std::vector<std::string> tags;
    bool starred = false;
    bool dryRun = false;
};

ThingRecord newThing(ThingKind kind, const AddOptions& options) {
    ThingRecord thing;
    thing.id = randomIdentifier();
    thing.createdAt = thing.updatedAt = Host::nowMilliseconds();
    thing.kind = rawValue(kind);
    thing.aspectRatio = defaultAspectRatio(kind);
    thing.title = options.title;
    thing.note = options.note;
    thing.isStarred = options.starred;
    return thing;
}

int sendNew(Host& host, ThingRecord thing, const AddOptions& options) {
    Session& session = host.sessionFor(options.dryRun);
    if (options.project) thing.project = session.snapshot().project(*options.project).id;
    ThingChange change;
    const TagsByName tags = tagsByName(session.snapshot(), options.tags, thing.createdAt);
    for (const TagRecord& tag : tags.added) change.add(tag);
    thing.tags = tags.ids;
    change.add(thing);
    return change.send(host, session, "Added", options.dryRun);
}

int addText(Host& host, ThingKind kind, const AddOptions& options) {
    ThingRecord thing = newThing(kind, options);
    thing.content = textOrInput(options.subject);
    if (!options.author.empty())
        thing.metadataJson = mergedMetadata("", {{"author", options.author}});
    return sendNew(host, std::move(thing), options);
}

int addLink(Host& host, const AddOptions& options) {
    const FileDraft draft = draftOfAddress(options.subject);
    ThingRecord thing = newThing(draft.kind, options);
    thing.urlString = draft.urlString;
    thing.metadataJson = mergedMetadata("", draft.metadata);
    return sendNew(host, std::move(thing), options);
}

int addFile(Host& host, const AddOptions& options) {
    Session& session = host.session();
    IncomingFolder incoming(session.state().exchangeFolder());
    ThingRecord thing = newThing(ThingKind::document, options);
    attachFile(thing, options.subject, incoming);
    if (thing.title.empty())
        thing.title = repairedUtf8(withoutPathExtension(lastPathComponent(options.subject)));
    return sendNew(host, std::move(thing), options);
}

std::shared_ptr<AddOptions> addSubcommand(CLI::App& parent,
                                          Command& chosen,
                                          const char* name,
                                          const char* description,
                                          const char* subject,
                                          int (*run)(Host&, const AddOptions&)) {
    auto options = std::make_shared<AddOptions>();
    CLI::App* command = parent.add_subcommand(name, description);
    command->add_option(subject, options->subject)->required();
    command->add_option("--title", options->title, "Its title")->type_name("TEXT");
    command->add_option("--note", options->note, "A remark of your own")->type_name("TEXT");
    command->add_option("--project", options->project, "The project that takes it")
        ->type_name("PROJECT");
    command->add_option("--tag", options->tags, "A tag (repeatable)")
        ->type_name("TAG")
        ->allow_extra_args(false);
    command->add_flag("--star", options->starred, "Give it a star");
    addDryRun(*command, options->dryRun);
    if (std::string_view(name) == "quote")
        command->add_option("--author", options->author, "Who said it")->type_name("NAME");
    command->callback([&chosen, options, run] {
        chosen = [options, run](Host& host) { return run(host, *options); };
    });
    return options;
}

}  // namespace

void addAddingCommands(CLI::App& app, Command& chosen) {
    CLI::App* add = app.add_subcommand("add", "Add a note, a quote, a link or a file");
    add->require_subcommand(1);
    add->fallthrough();
    addSubcommand(*add,
                  chosen,
                  "note",
                  "Add a note; - reads the text from standard input",
                  "TEXT",
                  [](Host& host, const AddOptions& options) {
                      return addText(host, ThingKind::note, options);
                  });
    addSubcommand(*add,
                  chosen,
                  "quote",
                  "Add a quote; - reads the text from standard input",
                  "TEXT",
                  [](Host& host, const AddOptions& options) {
                      return addText(host, ThingKind::quote, options);
                  });
    addSubcommand(*add, chosen, "link", "Add a web address", "URL", &addLink);
    addSubcommand(*add, chosen, "file", "Add an image, a video or a document", "PATH", &addFile);
}

}  // namespace kelto::ctl
