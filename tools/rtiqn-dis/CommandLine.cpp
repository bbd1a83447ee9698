#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <string>

#include "CliServer.h"
#include "Errors.h"
#include "ListenCommand.h"
#include "ReadCommand.h"
#include "ReplayCommand.h"
#include "ReportArguments.h"
#include "SendCommand.h"
#include "common/ProgramRun.h"

namespace RtiqnDis {

using namespace OrynRti;

namespace {

constexpr const char* theDescription =
    "Listens to DIS traffic, records it, replays and reads recorded traffic, and sends some.\n"
    "\n"
    "DIS simulations exchange protocol data units (PDUs, IEEE 1278.1) as UDP datagrams, often "
    "several in one. This program shows every PDU with its sender and what could not be delivered.";

constexpr const char* theFooter =
    "Exit status:\n"
    "  0   done, also when nothing was received\n"
    "  1   data was incomplete or broken, and --strict was given\n"
    "  3   a file cannot be read or written\n"
    "  4   the network failed\n"
    "  64  wrong usage\n"
    "The result goes to standard output, everything else to standard error.\n"
    "\n"
    "Examples:\n"
    "  rtiqn-dis listen --live                    who sends what just now\n"
    "  rtiqn-dis listen --exercise 7 --write exercise.pcap\n"
    "  rtiqn-dis read exercise.pcap               show what a capture file holds\n"
    "  rtiqn-dis replay exercise.pcap --to 192.0.2.255 --speed 2\n"
    "  rtiqn-dis send --to 239.1.2.3:3000 --entities 20 --rate 5 --bundle 1400\n"
    "Each command has more: rtiqn-dis listen --help.";

constexpr const char* theListenDescription =
    "Shows the PDUs that arrive. There is a line for each, until the program is interrupted; then "
    "a table by kind and sender and the counts of what was not delivered. --port 0 lets the system "
    "choose a port.\n"
    "\n"
    "With --via-server the PDUs come from the packet server of this host that has the key, which "
    "reads the network for any number of programs, and takes the selection as filters. It splits "
    "datagrams: each PDU then counts as one. When it ends, its successor is waited for.\n"
    "\n"
    "With --counters there is a line of JSON every so many seconds and one at the end, on standard "
    "error or, with --format ndjson, among the PDUs.";

#define PLACES                                                                          \
    "A place like 2/9 means the second of nine PDUs in a datagram; in JSON these are\n" \
    "\"index\" and \"count\". A PDU and the coupled Attribute PDU behind it count as one.\n"

constexpr const char* theListenFooter = PLACES
    "\n"
    "Examples:\n"
    "  rtiqn-dis listen --live                    who sends what just now\n"
    "  rtiqn-dis listen --exercise 7 --kind fire,detonation --count 10\n"
    "  rtiqn-dis listen --group 239.1.2.3 --device eth0 --write exercise.pcap\n"
    "  rtiqn-dis listen --format ndjson | jq -c 'select(.kind == 2)'\n"
    "  rtiqn-dis listen --quiet --counters 60 2>>counters.log\n"
    "  rtiqn-dis listen --via-server 12 --wait    through the packet server of key 12";

constexpr const char* theReplayDescription =
    "Sends the datagrams of a capture file (pcap or pcapng) again. They go out with the pauses "
    "that "
    "they came with, as told, or without any.";

constexpr const char* theReplayFooter =
    "Examples:\n"
    "  rtiqn-dis replay exercise.pcap --to 192.0.2.255\n"
    "  rtiqn-dis replay exercise.pcap --to 239.1.2.3:3001 --device eth0 --ttl 8\n"
    "  rtiqn-dis replay exercise.pcap --to 127.0.0.1 --top-speed --loop 100\n"
    "  rtiqn-dis replay exercise.pcap --to 127.0.0.1 --exercise 9 --bundle 1400";

constexpr const char* theSendDescription =
    "Sends the Entity State PDUs of ships. They move in circles on the North Sea and beyond, until "
    "the program is interrupted.";

constexpr const char* theSendFooter =
    "Examples:\n"
    "  rtiqn-dis send --to 127.0.0.1                          one ship, once a second\n"
    "  rtiqn-dis send --to 239.1.2.3:3000 --entities 20 --rate 5 --bundle 1400\n"
    "  rtiqn-dis send --to 192.0.2.1 192.0.2.2 --exercise 7 --dis-version 6 --for 60";

constexpr const char* theReadDescription =
    "Shows the PDUs of a capture file (pcap or pcapng). It does so as listening to it would have: "
    "a line for each PDU, then a table by kind and sender and the counts of what was not "
    "delivered.";

constexpr const char* theReadFooter = PLACES
    "\n"
    "Examples:\n"
    "  rtiqn-dis read exercise.pcap\n"
    "  rtiqn-dis read --quiet --strict exercise.pcap          is everything in order?\n"
    "  rtiqn-dis read --kind fire,detonation --format ndjson exercise.pcap\n"
    "  rtiqn-dis read --port 3001 --not-kind 1 exercise.pcap";

#undef PLACES

std::string positiveComplaint(const std::string& text) {
    double value = 0;
    const bool good = CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value > 0;
    return good ? std::string() : "'" + text + "' is not a number above 0";
}

void addServer(CLI::App& command, ListenOptions& options) {
    CLI::Option* server = command.add_option("--via-server", options.serverKey,
                                             "Listen through the packet server with that key");
    server->check(CLI::Range(0, 99999))->option_text("KEY");
    for (const char* network : {"--bind", "--device", "--port"})
        server->excludes(command.get_option(network));
    command.add_flag("--wait", options.waitForServer, "Wait for the packet server to come up")
        ->needs(server)
        ->option_text(" ");
    command
        .add_flag("--allow-others", options.allowOthers,
                  "Let programs of every user at the queue: for a server of another user")
        ->needs(server)
        ->option_text(" ");
    command
        .add_option_function<std::string>("--server-directory",
                                          [](const std::string& path) {
                                              if (!DtSetPacketServerDirectory(DtString(path)))
                                                  throw CLI::ValidationError("--server-directory",
                                                                             "is too long");
                                          })
        ->group("");  // for tests
}

void addListen(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("listen", theListenDescription);
    command->footer(theListenFooter);
    const auto options = std::make_shared<ListenOptions>();
    addReportArguments(*command, options->report, 0);
    command->add_option("--bind", options->bind, "Listen on this address of the host only")
        ->option_text("ADDR");
    command
        ->add_option("--device", options->device,
                     "Listen on this network interface only, on its own address")
        ->option_text("NAME");
    command->add_option("--group", options->groups, "Multicast groups to join")
        ->option_text("ADDR...");
    command->add_option("--for", options->duration_s, "End after that many seconds")
        ->check(positiveComplaint)
        ->option_text("SECONDS");
    command
        ->add_option("--write", options->recordPath,
                     "Record all datagrams of the port in a capture file, as they arrived")
        ->option_text("FILE.pcap");
    CLI::Option* counters =
        command->add_option("--counters", options->counters_s,
                            "Tell all counters every so many seconds, as a line of JSON");
    counters->check(positiveComplaint)->option_text("SECONDS");
    command
        ->add_flag("--live", options->live,
                   "Show a table of rates that is refreshed each second, no PDUs")
        ->excludes(counters)
        ->excludes(command->get_option("--format"))
        ->option_text(" ");
    addServer(*command, *options);
    command->final_callback([options, choose] {
        options->report.quiet = options->report.quiet || options->live;
        choose([options] { return runListen(*options); });
    });
}

void addRead(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("read", theReadDescription);
    command->footer(theReadFooter);
    const auto options = std::make_shared<ReadOptions>();
    command->add_option("CAPTURE", options->path, "The capture file")->required()->option_text(" ");
    addReportArguments(*command, options->report, 1);
    command->final_callback([options, choose] { choose([options] { return runRead(*options); }); });
}

/// Of several words behind --to the first is its own, the others come as arguments without a name,
/// so that a CAPTURE may stand behind it as well.
void addSending(CLI::App& command, SendingOptions& options) {
    command.add_option("--to", options.targets, "Where to send to: hosts, broadcasts, groups")
        ->required()
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false)
        ->option_text("ADDR[:PORT]...");
    command
        .add_option_function<std::vector<std::string>>(
            "TARGET",
            [&options](const std::vector<std::string>& more) {
                options.targets.insert(options.targets.end(), more.begin(), more.end());
            },
            "")
        ->group("");
    command.add_option("--bundle", options.bundle_bytes, "Bundle PDUs up to that size")
        ->check(CLI::Range(12, 65507))
        ->option_text("BYTES");
}

void addPace(CLI::App& command, ReplayOptions& options) {
    CLI::Option* speed =
        command.add_option("--speed", options.speed, "Times as fast as recorded (1)")
            ->check(positiveComplaint)
            ->option_text("X");
    CLI::Option* topSpeed = command.add_flag("--top-speed", options.topSpeed, "Without any pause")
                                ->excludes(speed)
                                ->option_text(" ");
    command
        .add_option("--pps", options.datagramsPerSecond, "N recorded datagrams a second, evenly")
        ->check(positiveComplaint)
        ->excludes(speed)
        ->excludes(topSpeed)
        ->option_text("N");
}

void addReplay(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("replay", theReplayDescription);
    command->footer(theReplayFooter);
    const auto options = std::make_shared<ReplayOptions>();
    command->add_option("CAPTURE", options->path, "The capture file")->required()->option_text(" ");
    addSending(*command, options->sending);
    command
        ->add_option(
            "--port", options->sending.port,
            "The UDP port that the datagrams were sent to, and are unless --to says (3000)")
        ->check(CLI::Range(1, 65535))
        ->option_text("N");
    addPace(*command, *options);
    command->add_option("--loop", options->loops, "Replay N times, 0 for no end (1)")
        ->check(CLI::NonNegativeNumber)
        ->option_text("N");
    command->add_option("--exercise", options->exercise, "Write this exercise into every PDU")
        ->check(CLI::Range(0, 255))
        ->option_text("N");
    command->add_option("--device", options->sending.device, "Send on this network interface")
        ->option_text("NAME");
    command->add_option("--ttl", options->sending.ttl, "Routers that a datagram may pass")
        ->check(CLI::Range(1, 255))
        ->option_text("N");
    command->final_callback(
        [options, choose] { choose([options] { return runReplay(*options); }); });
}

void addSend(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("send", theSendDescription);
    command->footer(theSendFooter);
    const auto options = std::make_shared<SendOptions>();
    addSending(*command, options->sending);
    command->add_option("--entities", options->entities, "How many ships (1)")
        ->check(CLI::Range(1, 65534))
        ->option_text("N");
    command->add_option("--rate", options->rate_hz, "PDUs of each ship per second (1)")
        ->check(positiveComplaint)
        ->option_text("HZ");
    command->add_option("--for", options->duration_s, "End after that many seconds")
        ->check(positiveComplaint)
        ->option_text("SECONDS");
    command->add_option("--exercise", options->exercise, "Exercise identifier (1)")
        ->check(CLI::Range(0, 255))
        ->option_text("N");
    command->add_option("--dis-version", options->version, "DIS version (7)")
        ->check(CLI::Range(6, 7))
        ->option_text("6|7");
    command->final_callback([options, choose] { choose([options] { return runSend(*options); }); });
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
    CLI::App app(theDescription, "rtiqn-dis");
    app.footer(theFooter);
    Command command;
    const Choose choose = [&](Command chosen) { command = std::move(chosen); };
    addListen(app, choose);
    addReplay(app, choose);
    addRead(app, choose);
    addSend(app, choose);
    return RtiqnTools::runProgram(app, argc, argv, command);
}

}  // namespace RtiqnDis
