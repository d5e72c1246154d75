#include <map>
#include <string>

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "kelto/persistence/SqliteDatabase.hpp"
#include "tests/persistence/GraphText.hpp"
#include "tests/persistence/LibraryStore.hpp"
#include "tests/random/Dice.hpp"

namespace kelto {
namespace {

using history::Dice;

constexpr std::uint64_t historyCount = 300;
constexpr int turnsPerHistory = 10;

/// Nothing here depends on a disk: where the system has a folder in memory, stores are made there.
void playInMemory() {
    if (::access("/dev/shm", W_OK) == 0) ::setenv("TMPDIR", "/dev/shm", 0);
}

/// Random changes of a library's objects.
class Changes {
public:
    Changes(ModelContext& context, Dice& dice) : context_(context), dice_(dice) {}

    void makeOne() {
        projects_ = context_.fetch<Project>();
        tags_ = context_.fetch<Tag>();
        things_ = context_.fetch<Thing>();
        const std::size_t kind = dice_.below(100);
        if (kind < 30) {
            insert();
        } else if (kind < 45) {
            remove();
        } else if (kind < 60) {
            changeProject();
        } else if (kind < 65) {
            if (!tags_.empty()) dice_.pick(tags_)->setName(word());
        } else if (!things_.empty()) {
            changeThing(*dice_.pick(things_));
        }
    }

private:
    std::string word() { return "word " + std::to_string(dice_.below(1000)); }

    Project* anyProject() {
        return projects_.empty() || dice_.chance(20) ? nullptr : dice_.pick(projects_);
    }

    std::vector<Tag*> anyTags() {
        std::vector<Tag*> list;
        for (std::size_t count = dice_.below(5); count > 0 && !tags_.empty(); --count) {
            list.push_back(dice_.pick(tags_));
        }
        return list;
    }

    void insert() {
        const std::size_t kind = dice_.below(4);
        if (kind == 0) {
            context_.insert<Project>(word(), anyProject());
        } else if (kind == 1) {
            context_.insert<Tag>(word());
        } else {
            Thing& thing = context_.insert<Thing>(ThingKind::note, word());
            thing.setTags(anyTags());
            thing.setProject(anyProject());
        }
    }

    void remove() {
        const std::size_t kind = dice_.below(4);
        if (kind == 0 && !projects_.empty()) context_.remove(*dice_.pick(projects_));
        if (kind == 1 && !tags_.empty()) context_.remove(*dice_.pick(tags_));
        if (kind > 1 && !things_.empty()) context_.remove(*dice_.pick(things_));
    }

    void changeProject() {
        if (projects_.empty()) return;
        Project& project = *dice_.pick(projects_);
        Project* const parent = anyProject();
        const bool isCycle =
            parent != nullptr && (parent == &project || parent->isDescendantOf(project));
        if (dice_.chance(50) || isCycle) {
            project.setName(word());
        } else {
            project.setParent(parent);
        }
    }

    void changeThing(Thing& thing) {
        switch (dice_.below(5)) {
            case 0:
                return thing.setTitle(word());
            case 1:
                return thing.setTags(anyTags());
            case 2:
                return thing.setProject(anyProject());
            case 3:
                return thing.moveToTrash();
            default:
                return thing.restore();
        }
    }

    ModelContext& context_;
    Dice& dice_;
    std::vector<Project*> projects_;
    std::vector<Tag*> tags_;
    std::vector<Thing*> things_;
};

/// One of two programs that have the same store open.
class Program {
public:
    explicit Program(const LibraryStore& library)
        : library_(library), container_(library.anotherContainer()) {}

    /// Begins a unit of work, and compares what it finds with what a new program reads.
    void expectTheStoredGraph() {
        std::vector<std::string> ours;
        {
            ModelContext context(*container_);
            ours = linesOf(context);
            EXPECT_FALSE(context.hasChanges());
            compareAddresses(context);
        }
        const auto fresh = library_.anotherContainer();
        ModelContext context(*fresh);
        ASSERT_EQ(ours, linesOf(context));
    }

    void change(Dice& dice) {
        ModelContext context(*container_);
        Changes changes(context, dice);
        for (std::size_t count = dice.below(6); count > 0; --count) changes.makeOne();
        if (dice.chance(90)) {
            context.save();
            noteAddresses(context);
        } else {
            mayMove_ = context.hasChanges();
            context.rollback();
        }
    }

private:
    using Addresses = std::map<std::pair<std::string_view, std::int64_t>, const ModelObject*>;

    static Addresses addressesOf(ModelContext& context) {
        Addresses addresses;
        const auto take = [&addresses](const auto& objects) {
            for (const ModelObject* object : objects) {
                addresses[{object->entity().name, object->row()}] = object;
            }
        };
        take(context.fetch<Project>());
        take(context.fetch<Tag>());
        take(context.fetch<Thing>());
        return addresses;
    }

    void noteAddresses(ModelContext& context) {
        addresses_ = addressesOf(context);
        population_ = context.populationNumber();
        mayMove_ = false;
    }

    /// Objects that were there before are where they were; the population has another number if and
    /// only if some came or went.
    void compareAddresses(ModelContext& context) {
        if (!mayMove_) {
            const Addresses now = addressesOf(context);
            for (const auto& [row, object] : now) {
                const auto before = addresses_.find(row);
                if (before != addresses_.end()) {
                    EXPECT_EQ(before->second, object);
                }
            }
            EXPECT_EQ(now == addresses_, context.populationNumber() == population_);
        }
        noteAddresses(context);
    }

    const LibraryStore& library_;
    std::unique_ptr<ModelContainer> container_;
    Addresses addresses_;
    std::uint64_t population_ = 0;
    bool mayMove_ = true;  // nothing is loaded, or a rollback has forgotten all
};

/// What somebody does to the tables with another tool.
void changeBySql(const LibraryStore& library, Dice& dice) {
    const std::string row = std::to_string(1 + dice.below(8));
    const std::vector<std::string> statements = {
        "UPDATE Thing SET title = 'by hand' WHERE id = " + row,
        "DELETE FROM Thing WHERE id = " + row,
        "UPDATE Thing SET tags = coalesce((SELECT '[' || max(id) || ']' FROM Tag), '[]'), project "
        "= (SELECT min(id) FROM Project) WHERE id = " +
            row,
        "INSERT INTO Tag (uuid, name, createdAt) VALUES (randomblob(16), 'by hand', 0)",
        "UPDATE Project SET parent = NULL",
    };
    SqliteDatabase(library.storePath(), std::chrono::milliseconds(1000)).run(dice.pick(statements));
}

TEST(RandomDifferences, AreLoadedAsANewProgramReadsTheWhole) {
    playInMemory();
    for (std::uint64_t seed = 1; seed <= historyCount; ++seed) {
        SCOPED_TRACE("history " + std::to_string(seed));
        Dice dice(seed);
        const LibraryStore library;
        Program programs[] = {Program(library), Program(library)};
        for (int turn = 0; turn < turnsPerHistory; ++turn) {
            Program& program = programs[dice.below(2)];
            program.expectTheStoredGraph();
            program.change(dice);
            if (dice.chance(20)) changeBySql(library, dice);
            if (testing::Test::HasFailure()) return;
        }
        for (Program& program : programs) program.expectTheStoredGraph();
    }
}

}  // namespace
}  // namespace kelto
