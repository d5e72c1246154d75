#include "tests/persistence/DamagedStore.hpp"

#include "kelto/foundation/FilePath.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/SqliteDatabase.hpp"
#include "kelto/persistence/StoreInspection.hpp"

namespace kelto {

void DamagedStore::fill() {
    ModelContext context(library.container());
    Project& top = context.insert<Project>("top", nullptr);
    Project& below = context.insert<Project>("below", &top);
    Tag& tag = context.insert<Tag>("red");
    Thing& plan = context.insert<Thing>(ThingKind::document, "Plan");
    plan.setData(library.keep(context, small));
    plan.setProject(&below);
    plan.addTag(tag);
    context.insert<Thing>(ThingKind::video, "Film").setData(library.keep(context, large));
    context.save();
}

void DamagedStore::execute(const std::string& sql) const {
    SqliteDatabase(library.storePath(), std::chrono::milliseconds(1000)).run(sql);
}

StoreReport DamagedStore::inspect() {
    return StoreInspection(librarySchema(), library.files(), library.storePath()).run({});
}

std::vector<std::string_view> DamagedStore::kinds(const StoreReport& report) {
    std::vector<std::string_view> names;
    for (const StoreFinding& finding : report.findings) names.push_back(nameOf(finding.kind));
    return names;
}

std::string DamagedStore::inExternalFolder(std::string_view name) const {
    return joinedPath(library.externalFolder(), name);
}

std::string DamagedStore::largeFile() const {
    return inExternalFolder(sha256(large).hex());
}

std::string DamagedStore::lostAndFound(std::string_view name) const {
    return joinedPath(library.folder().path(), joinedPath("Lost and found", name));
}

}  // namespace kelto
