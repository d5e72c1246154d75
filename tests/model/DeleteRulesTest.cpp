#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/model/LibrarySchema.hpp"
#include "kelto/persistence/ModelContainer.hpp"
#include "kelto/persistence/ModelContext.hpp"
#include "tests/model/ModelWorld.hpp"

namespace kelto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using State = ModelObject::State;

/// A store that begins empty and only counts what it is given.
class CountingStore final : public PersistentStore {
public:
    ForeignChanges begin() override {
        using Extent = ForeignChanges::Extent;
        return {began_++ == 0 ? Extent::unknown : Extent::none, {}};
    }
    ForeignChanges beginReading() override { return begin(); }
    void load(const EntityDescription&,
              const RowRange&,
              const std::function<void(std::int64_t, RowReader&)>&) override {}
    std::int64_t lastRow(const EntityDescription&) override { return 0; }
    void commit(const ChangeSet& changes) override { committed = changes; }
    void rollback() noexcept override {}
    PayloadStorage& payloads() override { fatalError("these tests have no payloads"); }

    ChangeSet committed;

private:
    int began_ = 0;
};

/// A stored library: every object that a test makes is saved before the test goes on.
class DeleteRules : public testing::Test {
protected:
    template <typename Model, typename... Arguments>
    Model& stored(Arguments&&... arguments) {
        return context.insert<Model>(std::forward<Arguments>(arguments)...);
    }
    Thing& thing() { return stored<Thing>(ThingKind::note, ""); }
    Tag& tag() { return stored<Tag>("tag"); }
    Project& project(Project* parent = nullptr) { return stored<Project>("project", parent); }

    std::unique_ptr<CountingStore> owned = std::make_unique<CountingStore>();
    CountingStore& store = *owned;
    ModelContainer container{librarySchema(),
                             std::move(owned),
                             std::make_shared<TickingClock>(),
                             std::make_shared<NumberedRandom>()};
    ModelContext context{container};
};

TEST_F(DeleteRules, DeleteTheWholeSubtreeOfAProject) {
    Project& root = project();
    Project& child = project(&root);
    Project& grandchild = project(&child);
    Project& sibling = project();
    context.save();
    context.remove(root);
    for (const Project* gone : {&root, &child, &grandchild}) {
        EXPECT_EQ(gone->state(), State::deleted);
    }
    EXPECT_EQ(sibling.state(), State::stored);
    EXPECT_THAT(context.fetch<Project>(), ElementsAre(&sibling));
}

TEST_F(DeleteRules, KeepTheThingsOfEveryDeletedProject) {
    Project& root = project();
    Project& child = project(&root);
    Thing& inRoot = thing();
    Thing& inChild = thing();
    inRoot.setProject(&root);
    inChild.setProject(&child);
    context.save();
    context.remove(root);
    for (const Thing* kept : {&inRoot, &inChild}) {
        EXPECT_EQ(kept->state(), State::stored);
        EXPECT_EQ(kept->project(), nullptr);
        EXPECT_TRUE(kept->hasChangedRow());
    }
}

TEST_F(DeleteRules, TakeADeletedChildFromItsParent) {
    Project& root = project();
    Project& child = project(&root);
    context.save();
    context.remove(child);
    EXPECT_THAT(root.children().list(), IsEmpty());
    EXPECT_EQ(root.state(), State::stored);
    EXPECT_FALSE(hasChanges(root));
}

TEST_F(DeleteRules, TakeADeletedTagFromItsThings) {
    Tag& red = tag();
    Tag& blue = tag();
    Thing& both = thing();
    Thing& one = thing();
    both.setTags({&red, &blue});
    one.setTags({&red});
    context.save();
    context.remove(red);
    EXPECT_THAT(both.tags(), ElementsAre(&blue));
    EXPECT_THAT(one.tags(), IsEmpty());
    EXPECT_TRUE(both.hasChangedRow() && one.hasChangedRow());
    context.save();
    EXPECT_THAT(store.committed.changed, testing::UnorderedElementsAre(&both, &one));
}

TEST_F(DeleteRules, TakeADeletedThingFromItsProjectAndItsTags) {
    Project& work = project();
    Tag& red = tag();
    Tag& blue = tag();
    Thing& gone = thing();
    Thing& kept = thing();
    for (Thing* each : {&gone, &kept}) {
        each->setProject(&work);
        each->setTags({&red, &blue});
    }
    context.save();
    context.remove(gone);
    EXPECT_THAT(work.things().list(), ElementsAre(&kept));
    EXPECT_THAT(red.things().list(), ElementsAre(&kept));
    EXPECT_THAT(blue.things().list(), ElementsAre(&kept));
    context.save();
    EXPECT_THAT(store.committed.changed, IsEmpty());
    EXPECT_EQ(store.committed.deleted.size(), 1U);
}

TEST_F(DeleteRules, DeleteATagOfVeryManyThingsInOneStepForEach) {
    constexpr int thingCount = 100'000;
    Tag& red = tag();
    Project& work = project();
    for (int i = 0; i < thingCount; ++i) {
        Thing& each = thing();
        each.setTags({&red});
        each.setProject(&work);
    }
    context.save();
    context.remove(red);
    context.remove(work);
    context.save();
    EXPECT_EQ(store.committed.changed.size(), std::size_t{thingCount});
    EXPECT_EQ(store.committed.deleted.size(), 2U);
}

TEST_F(DeleteRules, MarkAStoredObjectOnceHoweverOftenItChanges) {
    Thing& changed = thing();
    Thing& unchanged = thing();
    context.save();
    EXPECT_FALSE(hasChanges(changed));
    changed.setTitle("a");
    changed.setTitle("b");
    changed.setTags({&tag()});
    unchanged.setTitle(unchanged.title());
    unchanged.setTags({});
    context.save();
    EXPECT_THAT(store.committed.changed, ElementsAre(&changed));
}

}  // namespace
}  // namespace kelto
