#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "ObjectModelMerge.h"

namespace RtiqnFom {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Place at(unsigned line) {
    static const auto file = std::make_shared<const std::string>("module.xml");
    return {file, line, 1};
}

Attribute attribute(const std::string& name, const std::string& dataType = "", unsigned line = 1) {
    Attribute row;
    row.name = name;
    row.dataType = dataType;
    row.info.place = at(line);
    return row;
}

ObjectClass objectClass(const std::string& name, const std::string& sharing = "",
                        std::vector<Attribute> attributes = {}, unsigned line = 1) {
    ObjectClass row;
    row.name = name;
    row.sharing = sharing;
    row.attributes = std::move(attributes);
    row.info.place = at(line);
    return row;
}

template <typename Row>
OrderedRows<Row> table(std::vector<Row> rows) {
    OrderedRows<Row> filled;
    for (Row& row : rows)
        filled.add(std::move(row));
    return filled;
}

template <typename Row>
std::vector<std::string> namesOf(const OrderedRows<Row>& rows) {
    std::vector<std::string> names;
    for (const auto& row : rows)
        names.push_back(row->name);
    return names;
}

std::vector<std::string> fieldsIn(const std::vector<Conflict>& conflicts) {
    std::vector<std::string> fields;
    for (const Conflict& conflict : conflicts)
        fields.push_back(conflict.row + " " + conflict.field);
    return fields;
}

// -------------------------------------------------------------------------------------------------

TEST(ObjectModelMerge, AScaffoldIsCompletedByTheDefinitionBeforeOrBehindIt) {
    const auto scaffold = table<ObjectClass>(
        {objectClass("Root"), objectClass("Root.Ship", "", {attribute("Added")})});
    ObjectClass ship = objectClass("Root.Ship", "Publish", {attribute("Own", "Float")}, 7);
    ship.semantics = "floats";
    const auto definition = table<ObjectClass>({objectClass("Root"), ship});

    for (const bool scaffoldFirst : {true, false}) {
        auto held = scaffoldFirst ? scaffold : definition;
        const auto& incoming = scaffoldFirst ? definition : scaffold;
        ASSERT_THAT(conflictsOf(held, incoming), IsEmpty());
        joinRows(held, incoming);
        const ObjectClass& joined = *held.find("Root.Ship");
        EXPECT_EQ(held.size(), 2u);
        EXPECT_EQ(joined.sharing, "Publish");
        EXPECT_EQ(joined.semantics, "floats");
        EXPECT_EQ(joined.info.place.line, 7u) << "the place of the definition";
        std::vector<std::string> names;
        for (const Attribute& row : joined.attributes)
            names.push_back(row.name);
        EXPECT_THAT(names, testing::UnorderedElementsAre("Own", "Added"));
    }
}

TEST(ObjectModelMerge, FieldsOfAttributesAgreeOrConflictByName) {
    struct Case {
        const char* field;
        std::string Attribute::*member;
        const char* held;
        const char* incoming;
        bool conflicts;
    };
    const Case cases[] = {
        {"dataType", &Attribute::dataType, "Float", "float", true},
        {"dataType", &Attribute::dataType, "Float", "", false},
        {"dataType", &Attribute::dataType, "", "Float", false},
        {"updateType", &Attribute::updateType, "Static", "STATIC", false},
        {"updateType", &Attribute::updateType, "Static", "Periodic", true},
        {"ownership", &Attribute::ownership, "NoTransfer", "DivestAcquire", true},
        {"sharing", &Attribute::sharing, "Publish", "publish", false},
        {"sharing", &Attribute::sharing, "Publish", "Neither", true},
        {"transportation", &Attribute::transportation, "Fast", "FAST", true},
        {"order", &Attribute::order, "TimeStamp", "timestamp", false},
        {"order", &Attribute::order, "TimeStamp", "Receive", true},
        {"semantics", &Attribute::semantics, "one", "another", false},
        {"updateCondition", &Attribute::updateCondition, "now", "then", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.field) + ": " + c.held + ", " + c.incoming);
        Attribute held = attribute("Speed", "", 3);
        Attribute incoming = attribute("Speed", "", 4);
        held.*c.member = c.held;
        incoming.*c.member = c.incoming;
        auto rows = table<ObjectClass>({objectClass("Root", "", {held})});
        const auto others = table<ObjectClass>({objectClass("Root", "", {incoming})});
        const std::vector<Conflict> conflicts = conflictsOf(rows, others);
        if (!c.conflicts) {
            EXPECT_THAT(conflicts, IsEmpty());
            joinRows(rows, others);
            const std::string kept = *c.held ? c.held : c.incoming;
            EXPECT_EQ(rows.find("Root")->attributes.at(0).*c.member, kept);
            continue;
        }
        ASSERT_EQ(conflicts.size(), 1u);
        EXPECT_EQ(conflicts[0].status, 17);
        EXPECT_EQ(conflicts[0].table, "Attributes");
        EXPECT_EQ(conflicts[0].row, "Root.Speed");
        EXPECT_EQ(conflicts[0].field, c.field);
        EXPECT_EQ(conflicts[0].held.value, c.held);
        EXPECT_EQ(conflicts[0].held.place.line, 3u);
        EXPECT_EQ(conflicts[0].incoming.value, c.incoming);
        EXPECT_EQ(conflicts[0].incoming.place.line, 4u);
    }
}

TEST(ObjectModelMerge, DimensionsOfARowAgreeAsASet) {
    Attribute held = attribute("Speed");
    held.dimensions = {"X", "Y"};
    Attribute incoming = attribute("Speed");
    const auto fields = [&] {
        return fieldsIn(conflictsOf(table<ObjectClass>({objectClass("Root", "", {held})}),
                                    table<ObjectClass>({objectClass("Root", "", {incoming})})));
    };
    EXPECT_THAT(fields(), IsEmpty()) << "none stated";
    incoming.dimensions = {"Y", "X", "Y"};
    EXPECT_THAT(fields(), IsEmpty());
    incoming.dimensions = {"X"};
    EXPECT_THAT(fields(), ElementsAre("Root.Speed dimensions"));
}

TEST(ObjectModelMerge, InteractionsCompareTheirOwnFieldsAndTheirParameters) {
    InteractionClass held;
    held.name = "Root.Fire";
    held.transportation = "HLAreliable";
    held.order = "Receive";
    held.dimensions = {"X"};
    held.sharing = "Publish";
    held.parameters.resize(1);
    held.parameters[0].name = "Target";
    held.parameters[0].dataType = "Id";
    InteractionClass same = held;
    same.order = "RECEIVE";
    same.semantics = "differs";
    EXPECT_THAT(conflictsOf(table<InteractionClass>({held}), table<InteractionClass>({same})),
                IsEmpty());

    InteractionClass other = held;
    other.transportation = "HLAbestEffort";
    other.order = "TimeStamp";
    other.dimensions = {"Y"};
    other.sharing = "Subscribe";
    other.parameters[0].dataType = "Name";
    const auto conflicts =
        conflictsOf(table<InteractionClass>({held}), table<InteractionClass>({other}));
    EXPECT_THAT(fieldsIn(conflicts),
                ElementsAre("Root.Fire sharing", "Root.Fire transportation", "Root.Fire order",
                            "Root.Fire dimensions", "Root.Fire.Target dataType"));
    for (const Conflict& conflict : conflicts)
        EXPECT_EQ(conflict.status, 18);
}

TEST(ObjectModelMerge, ADimensionAgreesFieldByField) {
    Dimension held{"Basin", "Number", "20", "linear", "Excluded", {}};
    const Dimension same{"Basin", "", "20", "", "excluded", {}};
    const Dimension other{"Basin", "Name", "21", "log", "[0..3)", {}};
    EXPECT_THAT(conflictsOf(table<Dimension>({held}), table<Dimension>({same})), IsEmpty());
    const auto conflicts = conflictsOf(table<Dimension>({held}), table<Dimension>({other}));
    EXPECT_THAT(fieldsIn(conflicts), ElementsAre("Basin dataType", "Basin upperBound",
                                                 "Basin normalization", "Basin value"));
    EXPECT_EQ(conflicts[0].status, 16);
}

// -------------------------------------------------------------------------------------------------

TEST(ObjectModelMerge, AnAttributeThatRepeatsAnInheritedNameConflictsInEitherOrder) {
    const auto upper = table<ObjectClass>(
        {objectClass("Root", "", {attribute("Name", "Text", 2)}), objectClass("Root.Ship")});
    const auto lower =
        table<ObjectClass>({objectClass("Root"), objectClass("Root.Ship"),
                            objectClass("Root.Ship.Tug", "", {attribute("Name", "Text", 5)})});
    for (const bool upperFirst : {true, false}) {
        const auto conflicts = upperFirst ? conflictsOf(upper, lower) : conflictsOf(lower, upper);
        ASSERT_EQ(conflicts.size(), 1u);
        EXPECT_EQ(conflicts[0].status, 17);
        EXPECT_EQ(conflicts[0].field, "inherited name");
        EXPECT_EQ(conflicts[0].held.value, upperFirst ? "Root.Name" : "Root.Ship.Tug.Name");
        EXPECT_EQ(conflicts[0].held.place.line, upperFirst ? 2u : 5u);
        EXPECT_EQ(conflicts[0].incoming.value, upperFirst ? "Root.Ship.Tug.Name" : "Root.Name");
        EXPECT_EQ(conflicts[0].incoming.place.line, upperFirst ? 5u : 2u);
    }
}

TEST(ObjectModelMerge, AModuleMayNotRepeatItsOwnInheritedName) {
    const auto module = table<ObjectClass>({objectClass("Root", "", {attribute("Name")}),
                                            objectClass("Root.Ship", "", {attribute("Name")})});
    EXPECT_THAT(fieldsIn(conflictsOf({}, module)), ElementsAre("Root.Ship.Name inherited name"));
}

TEST(ObjectModelMerge, OnlyClassesAboveCountForInheritedNames) {
    // Names that begin alike, and a sign that sorts before the dot, do not make a parent.
    const auto held =
        table<ObjectClass>({objectClass("Root"), objectClass("Root.Car", "", {attribute("Name")}),
                            objectClass("Root.Car-Park", "", {attribute("Name")}),
                            objectClass("Root.CarPark", "", {attribute("Name")})});
    const auto incoming = table<ObjectClass>(
        {objectClass("Root"), objectClass("Root.Bus", "", {attribute("Name")}),
         objectClass("Root.Car"), objectClass("Root.Car.Taxi", "", {attribute("Fare")}),
         objectClass("Root.Car-Park.Level", "", {attribute("Fare")})});
    EXPECT_THAT(conflictsOf(held, incoming), IsEmpty());
    const auto repeats =
        table<ObjectClass>({objectClass("Root.Car.Taxi", "", {attribute("Name")})});
    EXPECT_THAT(fieldsIn(conflictsOf(held, repeats)),
                ElementsAre("Root.Car.Taxi.Name inherited name"));
}

// -------------------------------------------------------------------------------------------------

TEST(ObjectModelMerge, AClassStandsBehindItsParentWhateverTheOrder) {
    auto held = table<ObjectClass>({objectClass("Root.A.B.C")});
    OrderedRows<ObjectClass> joined;
    joinRows(joined, held);
    joinRows(joined, table<ObjectClass>({objectClass("Root.A", "Publish")}));
    EXPECT_THAT(namesOf(joined), ElementsAre("Root", "Root.A", "Root.A.B", "Root.A.B.C"));
    EXPECT_EQ(joined.find("Root.A")->sharing, "Publish");
}

TEST(ObjectModelMerge, OtherRootsAreMovedBelowTheStandardsRoot) {
    const auto rows = table<ObjectClass>({objectClass("Ship", "Publish", {}, 4),
                                          objectClass("Ship.Tug"), objectClass("Root"),
                                          objectClass("Root.Ship", "", {attribute("Name")})});
    std::vector<MovedRoot> moved;
    const auto placed = placedBelow("Root", rows, moved);
    ASSERT_EQ(moved.size(), 1u);
    EXPECT_EQ(moved[0].name, "Ship");
    EXPECT_EQ(moved[0].place.line, 4u);
    EXPECT_THAT(namesOf(placed), ElementsAre("Root", "Root.Ship", "Root.Ship.Tug"));
    EXPECT_EQ(placed.find("Root.Ship")->sharing, "Publish");
    EXPECT_EQ(placed.find("Root.Ship")->attributes.size(), 1u);

    moved.clear();
    placedBelow("Root", placed, moved);
    EXPECT_THAT(moved, IsEmpty()) << "once is enough";
}

TEST(ObjectModelMerge, DirectedInteractionsAndNotesAreUnited) {
    ObjectClass held = objectClass("Root");
    held.directedInteractions.push_back({"Dock", "", {}});
    held.info.notes = {{"", "Note1"}, {"semantics", "Note2"}};
    ObjectClass incoming = objectClass("Root");
    incoming.directedInteractions = {{"Dock", "Publish", {}}, {"Sail", "", {}}};
    incoming.info.notes = {{"", "Note3 Note1"}};
    auto rows = table<ObjectClass>({held});
    joinRows(rows, table<ObjectClass>({incoming}));

    const ObjectClass& joined = *rows.find("Root");
    ASSERT_EQ(joined.directedInteractions.size(), 2u);
    EXPECT_EQ(joined.directedInteractions[0].sharing, "Publish");
    EXPECT_EQ(joined.directedInteractions[1].name, "Sail");
    ASSERT_EQ(joined.info.notes.size(), 2u);
    EXPECT_EQ(joined.info.notes[0].labels, "Note1 Note3");
}

TEST(ObjectModelMerge, AJoinedTableIsIndependentOfTheOneItWasCopiedFrom) {
    const auto before = table<ObjectClass>({objectClass("Root")});
    auto after = before;
    joinRows(after, table<ObjectClass>({objectClass("Root", "Publish", {attribute("Name")})}));
    EXPECT_EQ(before.find("Root")->sharing, "");
    EXPECT_THAT(before.find("Root")->attributes, IsEmpty());
}

}  // namespace
}  // namespace RtiqnFom
