#include "PduWriter.h"

#include <nlohmann/json.hpp>

#include "PduKinds.h"
#include "common/Console.h"

namespace RtiqnDis {

using namespace RtiqnTools;

namespace {

std::string pduJson(const ReceivedPdu& received) {
    const PduHeader& header = received.pdu.header;
    return nlohmann::ordered_json{
        {"time", received.time_s},       {"sender", received.sender},
        {"version", header.version},     {"exercise", header.exercise},
        {"kind", header.kind},           {"name", kindName(header.kind)},
        {"length", header.length_bytes}, {"index", received.index},
        {"count", received.count},       {"coupled", received.pdu.coupled}}
        .dump();
}

class TextWriter : public PduWriter {
public:
    explicit TextWriter(bool quiet) : quiet_(quiet) {}

    void pdu(const ReceivedPdu& received) override {
        if (quiet_)
            return;
        const PduHeader& header = received.pdu.header;
        writeOutput(
            formatted("%.6f  %-21s  DIS %u  exercise %3u  %3u %-34s  %5u bytes  %zu/%zu%s\n",
                      received.time_s, received.sender.c_str(), header.version, header.exercise,
                      header.kind, kindName(header.kind), header.length_bytes, received.index,
                      received.count, received.pdu.coupled ? "  with Attribute PDU" : ""));
        any_ = true;
    }

    void finish(const TrafficStatistics& statistics) override {
        writeOutput((any_ ? "\n" : "") + tableText(statistics));
        flushOutput();
    }

private:
    bool quiet_;
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
