#include "kelto/persistence/StoreRepair.hpp"

#include <exception>

#include "kelto/foundation/PlatformError.hpp"
#include "kelto/persistence/SqliteStore.hpp"
#include "kelto/persistence/SqliteStoreOpening.hpp"

namespace kelto {

namespace {

using Kind = StoreFinding::Kind;

const std::string& checked(FileSystem& files, const std::string& storePath) {
    requireStoreFile(files, storePath);
    return storePath;
}

}  // namespace

StoreRepair::StoreRepair(const Schema& schema,
                         FileSystem& files,
                         Clock& clock,
                         Random& random,
                         const std::string& storePath)
    : files_(files),
      clock_(clock),
      database_(checked(files, storePath), SqliteStore::busyLimit),
      lostAndFound_(files, random, storePath),
      rows_(schema, database_, clock, random),
      payloads_(schema, files, database_, externalDataFolder(storePath), lostAndFound_, rows_) {
    requireKnownFormat(database_);
    database_.run("PRAGMA synchronous = FULL");
    database_.run("PRAGMA trusted_schema = OFF");
}

RepairOutcome StoreRepair::run(const std::vector<RepairStep>& steps) {
    RepairOutcome outcome;
    // Permissions first: without them the rest may be refused.
    for (const RepairStep& step : steps) {
        if (step.finding.kind != Kind::permissions) continue;
        files_.makePrivate(step.finding.path);
        ++outcome.done;
    }
    database_.run("BEGIN IMMEDIATE");
    try {
        for (const RepairStep& step : steps) {
            if (step.finding.kind == Kind::permissions) continue;
            database_.run("SAVEPOINT step");
            try {
                if (mend(step.finding)) ++outcome.done;
            } catch (const PlatformError& error) {
                database_.run("ROLLBACK TO step");
                outcome.left.push_back(step.finding.sentence +
                                       " It was not mended: " + error.localizedDescription());
            }
            database_.run("RELEASE step");
        }
        if (!rows_.written().empty()) {
            const std::string text = JsonValue(rows_.written()).indentedText() + "\n";
            outcome.kept.push_back(lostAndFound_.write(
                "Repair " + momentInName(clock_.now()) + ".json", bytesOf(text)));
        }
        database_.run("COMMIT");
    } catch (...) {
        if (database_.isInTransaction()) database_.run("ROLLBACK");
        throw;
    }
    payloads_.moveFilesWithoutRow();
    outcome.kept.insert(outcome.kept.end(), payloads_.kept().begin(), payloads_.kept().end());
    return outcome;
}

bool StoreRepair::mend(const StoreFinding& finding) {
    switch (finding.kind) {
        case Kind::damagedDatabase:
            return rows_.rebuildIndexes();
        case Kind::missingPart:
            return rows_.addPart(finding);
        case Kind::usedNumber:
            return rows_.raiseNumber(finding);
        case Kind::missingTarget:
            return mendReference(finding);
        case Kind::illFormedList:
        case Kind::missingListTarget:
            return rows_.mendList(finding);
        case Kind::cycle:
            return rows_.openCycle(finding);
        case Kind::duplicate:
            return rows_.renumberDuplicate(finding);
        case Kind::unreadableValue:
            return rows_.mendValue(finding);
        case Kind::missingPayload:
        case Kind::damagedPayload:
            return payloads_.mendPayload(finding);
        case Kind::unusedPayload:
            return payloads_.removeUnused(finding);
        case Kind::stray:
        case Kind::leftover:
            return payloads_.moveStray(finding);
        case Kind::permissions:
        case Kind::unusableDatabase:
            break;
    }
    return false;
}

bool StoreRepair::mendReference(const StoreFinding& finding) {
    const AttributeDescription* attribute = rows_.findAttribute(finding);
    const bool isPayload = attribute != nullptr && attribute->type == AttributeType::payload;
    return isPayload ? payloads_.mendReference(finding) : rows_.clear(finding);
}

}  // namespace kelto
