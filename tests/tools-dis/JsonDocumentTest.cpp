// Holds what the programs print as JSON against docs/json.md.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

#include "Losses.h"
#include "tools-dis/Listener.h"
#include "tools-packetserver/PacketServer.h"

namespace RtiqnDis {
namespace {

using namespace Tests;
using nlohmann::json;
using testing::HasSubstr;
using PacketServer = RtiqnPacketServer::Tests::PacketServer;
using Client = RtiqnPacketServer::Tests::Client;

std::string document(const std::string& name) {
    return readFile(dataPath("../docs/" + name));
}

/// What the document says of a field.
struct Field {
    std::string type;  ///< "string or null, optional"
    bool seen = false;

    bool allows(const std::string& found) const { return type.find(found) != std::string::npos; }
    bool isOptional() const { return type.find("optional") != std::string::npos; }
};

const char* typeOf(const json& value) {
    return value.is_number_integer() ? "integer" : value.is_number() ? "number" : value.type_name();
}

/// The table below a heading of the document.
class Section {
public:
    explicit Section(const std::string& heading) {
        const std::string text = document("json.md");
        const std::size_t begin = text.find("\n## " + heading + "\n");
        if (begin == std::string::npos)
            throw std::runtime_error("no section " + heading);
        std::istringstream lines(text.substr(begin, text.find("\n## ", begin + 1) - begin));
        for (std::string line; std::getline(lines, line);)
            takeRow(line);
    }

    /// Every field of the object must be there, with its type.
    void take(const json& object, const std::string& before = "") {
        for (const auto& [name, value] : object.items())
            takeField(fields_.count(before + "*") > 0 ? named(before, name) : before + name, value);
    }

    /// Every field that is always there has been taken.
    void expectComplete() const {
        EXPECT_GT(fields_.size(), 5u);
        for (const auto& [path, field] : fields_)
            EXPECT_TRUE(field.seen || field.isOptional()) << path << " is not printed";
    }

private:
    /// "| `name` | type | meaning |"; other tables have no types.
    void takeRow(const std::string& line) {
        const std::size_t nameEnd = line.find("` | ");
        if (line.compare(0, 3, "| `") != 0 || nameEnd == std::string::npos)
            return;
        const std::size_t begin = nameEnd + 4;
        const std::string type = line.substr(begin, line.find(" |", begin) - begin);
        for (const char* known : {"string", "integer", "number", "boolean", "array", "object"})
            if (type.find(known) == 0)
                fields_[line.substr(3, nameEnd - 3)] = {type};
    }

    /// Of a name from a list.
    static std::string named(const std::string& before, const std::string& name) {
        static const std::string lists = document("json.md") + document("operations.md");
        EXPECT_THAT(lists, HasSubstr("`" + name + "`")) << "is in no list";
        return before + "*";
    }

    void takeField(const std::string& path, const json& value) {
        const auto field = fields_.find(path);
        ASSERT_NE(field, fields_.end()) << path << " is not in the document";
        EXPECT_TRUE(field->second.allows(typeOf(value))) << path << " is " << value;
        field->second.seen = true;
        if (value.is_object())
            take(value, path + ".");
        for (const json& element : value.is_array() ? value : json::array())
            if (element.is_object())
                take(element, path + "[].");
            else
                takeField(path + "[]", element);
    }

    std::map<std::string, Field> fields_;
};

TEST(JsonDocument, HasWhatMergeTells) {
    Section section("rtiqn-fom merge");
    std::vector<std::string> words = {RTIQN_FOM_PROGRAM, "merge", "--format", "json", "--diff"};
    for (const char* module : {"Base", "Traffic", "Cargo", "Datatypes", "Network", "Switches"})
        words.push_back(dataPath("fom/Harbour" + std::string(module) + ".xml"));
    words.insert(words.end(), {"--join", dataPath("fom/HarbourConflict.xml")});
    const json object = json::parse(runToEnd(words).out);
    EXPECT_FALSE(object.at("conflicts").empty());
    section.take(object);
    section.expectComplete();
}

TEST(JsonDocument, HasWhatListenAndReadTell) {
    Section pdus("rtiqn-dis: PDUs"), counters("rtiqn-dis: counters"), summary("rtiqn-dis: summary");
    const std::string capture = dataPath("dis/harbour.pcap");
    Listener listener({"--counters", "100", "--kind", "fire,signal"});
    EXPECT_EQ(run({"replay", capture, "--to", listener.target(), "--top-speed"}).status, 0);
    const std::vector<json> heard = objectsOf(listener.interrupt().out);
    const std::vector<json> read = objectsOf(run({"read", "--format", "ndjson", capture}).out);
    for (const auto& objects : {heard, read})
        for (const json& object : objects)
            if (object.contains("counters"))
                counters.take(object.at("counters"));
            else if (object.contains("summary"))
                summary.take(object.at("summary"));
            else
                pdus.take(object);
    pdus.expectComplete();
    counters.expectComplete();
    summary.expectComplete();
    for (int loss = 0; loss < static_cast<int>(Loss::Count_); ++loss)
        EXPECT_THAT(document("json.md"),
                    HasSubstr(std::string("| `") + lossKey(static_cast<Loss>(loss)) + "` | "));
}

TEST(JsonDocument, HasWhatTheServerAndItsClientTell) {
    Section status("rtiqn-packetserver status"), counters("rtiqn-dis: counters");
    PacketServer server;
    const Client client(server);
    status.take(json::parse(server.ask("status", {"--format", "json"}).out));
    status.expectComplete();
    RunningProgram listener({RTIQN_DIS_PROGRAM, "listen", "--server-directory", server.folder(),
                             "--via-server", std::to_string(server.key()), "--counters", "100",
                             "--for", "0.01", "--quiet", "--format", "ndjson"});
    counters.take(objectsOf(listener.finish().out).front().at("counters"));
    counters.expectComplete();
}

}  // namespace
}  // namespace RtiqnDis
