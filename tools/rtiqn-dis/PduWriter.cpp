#include "PduWriter.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "PduKinds.h"
#include "common/Console.h"
#include "common/JsonText.h"

namespace RtiqnDis {

using namespace RtiqnTools;

namespace {

std::string pduJson(const ReceivedPdu& received) {
    const PduHeader& header = received.pdu.header;
    return jsonText(nlohmann::ordered_json{{"time", received.time_s},
                                           {"sender", received.sender},
                                           {"version", header.version},
                                           {"exercise", header.exercise},
                                           {"kind", header.kind},
                                           {"name", kindName(header.kind)},
                                           {"length", header.length_bytes},
                                           {"index", received.index},
                                           {"count", received.count},
                                           {"coupled", received.pdu.coupled}});
}

class TextWriter : public PduWriter {
public:
    explicit TextWriter(bool quiet) : quiet_(quiet) {}

    void pdu(const ReceivedPdu& received) override {
        if (quiet_)
            return;
        if (!any_)
            writeOutput(styled(formatted("%-17s %-21s %3s %4s %5s %5s %3s", "time", "sender", "DIS",
                                         "exer", "bytes", "place", "kind"),
                               Style::bold, STDOUT_FILENO) +
                        '\n');
        any_ = true;
        writeOutput((isTerminal_ ? clipped(lineOf(received), outputColumns()) : lineOf(received)) +
                    '\n');
    }

    void finish(const TrafficStatistics& statistics) override {
        writeOutput((any_ ? "\n" : "") + tableText(statistics));
        flushOutput();
    }

private:
    static std::string lineOf(const ReceivedPdu& received) {
        const PduHeader& header = received.pdu.header;
        return formatted("%17.6f %-21s %3u %4u %5u %5s %3u %s%s", received.time_s,
                         received.sender.c_str(), header.version, header.exercise,
                         header.length_bytes,
                         formatted("%zu/%zu", received.index, received.count).c_str(), header.kind,
                         kindName(header.kind), received.pdu.coupled ? " + Attribute PDU" : "");
    }

    bool quiet_;
    bool isTerminal_ = isTerminal(STDOUT_FILENO);
    bool any_ = false;
};

/// One document that begins with the PDUs, written as they come.
class JsonWriter : public PduWriter {
public:
    explicit JsonWriter(bool quiet) : quiet_(quiet) {}

    void pdu(const ReceivedPdu& received) override {
        if (quiet_)
            return;
        writeOutput((any_ ? ",\n" : "{\"pdus\": [\n") + pduJson(received));
        any_ = true;
    }

    void finish(const TrafficStatistics& statistics) override {
        const char* before = any_ ? "\n],\n" : quiet_ ? "{" : "{\"pdus\": [],\n";
        writeOutput(before + ("\"summary\": " + summaryJson(statistics)) + "}\n");
        flushOutput();
    }

private:
    bool quiet_;
    bool any_ = false;
};

class NdjsonWriter : public PduWriter {
public:
    explicit NdjsonWriter(bool quiet) : quiet_(quiet) {}

    void pdu(const ReceivedPdu& received) override {
        if (!quiet_)
            writeOutput(pduJson(received) + '\n');
    }

    void finish(const TrafficStatistics& statistics) override {
        writeOutput("{\"summary\":" + summaryJson(statistics) + "}\n");
        flushOutput();
    }

private:
    bool quiet_;
};

}  // namespace

std::unique_ptr<PduWriter> PduWriter::create(OutputFormat format, bool quiet) {
    switch (format) {
        case OutputFormat::Json:
            return std::make_unique<JsonWriter>(quiet);
        case OutputFormat::Ndjson:
            return std::make_unique<NdjsonWriter>(quiet);
        default:
            return std::make_unique<TextWriter>(quiet);
    }
}

}  // namespace RtiqnDis
