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
using testing::StartsWith;

RowInfo at(unsigned line) {
    static const auto file = std::make_shared<const std::string>("module.xml");
    return {{file, line, 1}, {}};
}

Attribute attribute(const std::string& name, const std::string& dataType = "", unsigned line = 1) {
    Attribute row;
    row.name = name;
    row.dataType = dataType;
    row.info = at(line);
    return row;
}

ObjectClass objectClass(const std::string& name, std::vector<Attribute> attributes = {},
                        const std::string& sharing = "", unsigned line = 1) {
    ObjectClass row;
    row.name = name;
    row.sharing = sharing;
    row.attributes = std::move(attributes);
    row.info = at(line);
    return row;
}

template <typename Row>
OrderedRows<Row> table(std::vector<Row> rows) {
    OrderedRows<Row> filled;
    for (Row& row : rows)
        filled.add(std::move(row));
    return filled;
}

/// Status, table, row, field, values and lines of each conflict.
std::vector<std::string> texts(const std::vector<Conflict>& conflicts) {
    const auto text = [](const Statement& statement) {
        return statement.value + "@" + std::to_string(statement.place.line);
    };
    std::vector<std::string> all;
    for (const Conflict& conflict : conflicts)
        all.push_back(std::to_string(conflict.status) + " " + conflict.table + " " + conflict.row +
                      " " + conflict.field + ": " + text(conflict.held) + ", " +
                      text(conflict.incoming));
    return all;
}

template <typename Row>
std::vector<std::string> conflictsBetween(const Row& held, const Row& incoming) {
    return texts(conflictsOf(table<Row>({held}), table<Row>({incoming})));
}

// -------------------------------------------------------------------------------------------------

TEST(ObjectModelMerge, AScaffoldIsCompletedByTheDefinitionBeforeOrBehindIt) {
    const auto scaffold =
        table<ObjectClass>({objectClass("Root"), objectClass("Root.Ship", {attribute("Added")})});
    ObjectClass ship = objectClass("Root.Ship", {attribute("Own", "Float")}, "Publish", 7);
    ship.semantics = "floats";
    const auto definition = table<ObjectClass>({objectClass("Root"), ship});

    for (const bool scaffoldFirst : {true, false}) {
        auto held = scaffoldFirst ? scaffold : definition;
        const auto& incoming = scaffoldFirst ? definition : scaffold;
        ASSERT_THAT(conflictsOf(held, incoming), IsEmpty());
        joinRows(held, incoming);
        const ObjectClass& joined = *held.find("Root.Ship");
        EXPECT_EQ(held.size(), 2u);
        EXPECT_EQ(joined.sharing + " " + joined.semantics, "Publish floats");
        EXPECT_EQ(joined.info.place.line, 7u) << "the place of the definition";
        EXPECT_EQ(joined.attributes.size(), 2u);
    }
}

TEST(ObjectModelMerge, FieldsOfAttributesAgreeOrConflictByName) {
    const struct {
        const char* field;
        std::string Attribute::*member;
        const char* held;
        const char* incoming;
        bool conflicts;
    } cases[] = {
        {"dataType", &Attribute::dataType, "Float", "float", true},
        {"dataType", &Attribute::dataType, "Float", "", false},
        {"dataType", &Attribute::dataType, "", "Float", false},
        {"updateType", &Attribute::updateType, "Static", "STATIC", false},
        {"updateType", &Attribute::updateType, "Static", "Periodic", true},
        {"ownership", &Attribute::ownership, "NoTransfer", "DivestAcquire", true},
        {"sharing", &Attribute::sharing, "Publish", "Neither", true},
        {"transportation", &Attribute::transportation, "Fast", "FAST", true},
        {"order", &Attribute::order, "TimeStamp", "timestamp", false},
        {"order", &Attribute::order, "TimeStamp", "Receive", true},
        {"semantics", &Attribute::semantics, "one", "another", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.field) + ": " + c.held + ", " + c.incoming);
        Attribute held = attribute("Speed", "", 3);
        Attribute incoming = attribute("Speed", "", 4);
        held.*c.member = c.held;
        incoming.*c.member = c.incoming;
        auto rows = table<ObjectClass>({objectClass("Root", {held})});
        const auto others = table<ObjectClass>({objectClass("Root", {incoming})});
        if (c.conflicts) {
            EXPECT_THAT(texts(conflictsOf(rows, others)),
                        ElementsAre(std::string("17 Attributes Root.Speed ") + c.field + ": " +
                                    c.held + "@3, " + c.incoming + "@4"));
            continue;
        }
        EXPECT_THAT(conflictsOf(rows, others), IsEmpty());
        joinRows(rows, others);
        EXPECT_EQ(rows.find("Root")->attributes.at(0).*c.member, *c.held ? c.held : c.incoming);
    }
}

TEST(ObjectModelMerge, InteractionsCompareTheirOwnFieldsAndTheirParameters) {
    const auto fire = [](const char* sharing, const std::vector<std::string>& dimensions,
                         const char* transportation, const char* order, const char* semantics,
                         const char* dataType) {
        return InteractionClass{"Fire",
                                sharing,
                                dimensions,
                                transportation,
                                order,
                                semantics,
                                {{"Target", dataType, "", "", {}}},
                                {}};
    };
    const auto held = fire("Publish", {"X", "Y"}, "Fast", "Receive", "one", "Id");
    EXPECT_THAT(conflictsBetween(
                    held, fire("Publish", {"Y", "X", "Y"}, "Fast", "RECEIVE", "another", "Id")),
                IsEmpty());
    EXPECT_THAT(conflictsBetween(held, fire("", {}, "", "", "", "")), IsEmpty()) << "none stated";

    EXPECT_THAT(conflictsBetween(held, fire("Neither", {"Y"}, "Slow", "TimeStamp", "", "Name")),
                ElementsAre(StartsWith("18 Interaction Classes Fire sharing: Publish"),
                            StartsWith("18 Interaction Classes Fire transportation: Fast"),
                            StartsWith("18 Interaction Classes Fire order: Receive"),
                            StartsWith("18 Interaction Classes Fire dimensions: X"),
                            StartsWith("18 Parameters Fire.Target dataType: Id")));
}

TEST(ObjectModelMerge, ADimensionAgreesFieldByField) {
    const Dimension held{"Basin", "Number", "20", "linear", "Excluded", {}};
    EXPECT_THAT(conflictsBetween(held, {"Basin", "", "20", "", "excluded", {}}), IsEmpty());
    EXPECT_THAT(conflictsBetween(held, {"Basin", "Name", "21", "log", "[0..3)", {}}),
                ElementsAre("16 Dimensions Basin dataType: Number@0, Name@0",
                            "16 Dimensions Basin upperBound: 20@0, 21@0",
                            "16 Dimensions Basin normalization: linear@0, log@0",
                            "16 Dimensions Basin value: Excluded@0, [0..3)@0"));
}

// -------------------------------------------------------------------------------------------------

TEST(ObjectModelMerge, AnAttributeThatRepeatsAnInheritedNameConflictsInEitherOrder) {
    const auto upper = table<ObjectClass>(
        {objectClass("Root", {attribute("Name", "Text", 2)}), objectClass("Root.Ship")});
    const auto lower =
        table<ObjectClass>({objectClass("Root"), objectClass("Root.Ship"),
                            objectClass("Root.Ship.Tug", {attribute("Name", "Text", 5)})});
    EXPECT_THAT(texts(conflictsOf(upper, lower)),
                ElementsAre("17 Attributes Root.Ship.Tug.Name inherited name: Root.Name@2, "
                            "Root.Ship.Tug.Name@5"));
    EXPECT_THAT(texts(conflictsOf(lower, upper)),
                ElementsAre("17 Attributes Root.Name inherited name: Root.Ship.Tug.Name@5, "
                            "Root.Name@2"));

    const auto within = table<ObjectClass>(
        {objectClass("Root", {attribute("Name")}), objectClass("Root.Ship", {attribute("Name")})});
    EXPECT_EQ(conflictsOf({}, within).size(), 1u) << "within a module as well";
}

TEST(ObjectModelMerge, OnlyClassesAboveCountForInheritedNames) {
    // Names that begin alike, and a sign that sorts before the dot, do not make a parent.
    const auto held =
        table<ObjectClass>({objectClass("Root"), objectClass("Root.Car", {attribute("Name")}),
                            objectClass("Root.Car-Park", {attribute("Name")}),
                            objectClass("Root.CarPark", {attribute("Name")})});
    const auto incoming = table<ObjectClass>(
        {objectClass("Root"), objectClass("Root.Bus", {attribute("Name")}), objectClass("Root.Car"),
         objectClass("Root.Car.Taxi", {attribute("Fare")}),
         objectClass("Root.Car-Park.Level", {attribute("Fare")})});
    EXPECT_THAT(conflictsOf(held, incoming), IsEmpty());
    const auto repeats = table<ObjectClass>({objectClass("Root.Car.Taxi", {attribute("Name")})});
    EXPECT_EQ(conflictsOf(held, repeats).size(), 1u);
}

// -------------------------------------------------------------------------------------------------

TEST(ObjectModelMerge, AClassStandsBehindItsParentWhateverTheOrder) {
    OrderedRows<ObjectClass> joined;
    joinRows(joined, table<ObjectClass>({objectClass("Root.A.B.C")}));
    const auto before = joined;
    joinRows(joined, table<ObjectClass>({objectClass("Root.A", {attribute("Name")}, "Publish")}));
    std::string names;
    for (const auto& row : joined)
        names += row->name + " ";
    EXPECT_EQ(names, "Root Root.A Root.A.B Root.A.B.C ");
    EXPECT_EQ(joined.find("Root.A")->sharing, "Publish");
    EXPECT_EQ(before.find("Root.A")->sharing, "") << "a copy is independent";
    EXPECT_THAT(before.find("Root.A")->attributes, IsEmpty());
}

TEST(ObjectModelMerge, DirectedInteractionsAndNotesAreUnited) {
    ObjectClass held = objectClass("Root");
    held.directedInteractions = {{"Dock", "", {}}};
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

}  // namespace
}  // namespace RtiqnFom
