#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <string>

#include "CliServer.h"
#include "Commands.h"
#include "common/ProgramRun.h"

namespace RtiqnPacketServer {

using namespace OrynRti;
using namespace RtiqnTools;

namespace {

constexpr const char* theDescription =
    "Reads DIS packets from the network once and hands them to any number of programs of this "
    "host.\n"
    "\n"
    "The programs, its clients, get their packets through shared memory; each has filters of its "
    "own. A client that is slow, stopped or killed harms neither the server nor the others.";

constexpr const char* theFooter =
    "Exit status:\n"
    "  0   done; of status: the server is alive\n"
    "  1   of run: another server has the key; of the others: there is none\n"
    "  2   there is a server, but it does not answer\n"
    "  3   standard output cannot be written\n"
    "  4   the network or shared memory failed\n"
    "  64  wrong usage\n"
    "\n"
    "Examples:\n"
    "  rtiqn-packetserver run --key 12              read port 3000, serve its packets\n"
    "  rtiqn-packetserver status --key 12           is it there, and what does it do?\n"
    "  rtiqn-packetserver mode --key 12 internal    let its packet clients go\n"
    "  rtiqn-packetserver stop --key 12\n"
    "  rtiqn-dis listen --via-server 12             a client";

constexpr const char* theRunDescription =
    "Serves until it is told to stop, or interrupted. Then it prints what was read, handed over "
    "and lost. Standard error tells of clients that come and go. SIGUSR1 makes it tell the figures "
    "so far there.";

constexpr const char* theRunFooter =
    "Examples:\n"
    "  rtiqn-packetserver run --key 12\n"
    "  rtiqn-packetserver run --key 12 --port 3001 --group 239.1.2.3 --device eth0\n"
    "  rtiqn-packetserver run --key 12 --allow-others --max-clients 20 --quiet";

constexpr const char* theStatusDescription =
    "Tells whether a server is alive, its state, its clients, and what it has counted.";

constexpr const char* theStatusFooter =
    "Examples:\n"
    "  rtiqn-packetserver status --key 12\n"
    "  rtiqn-packetserver status --key 12 --format json | jq .socket.kernelDrops";

constexpr const char* theModeDescription =
    "Turns a server internal or external. An internal one serves no packet clients and lets those "
    "go that it has; an external one serves them again.";

constexpr const char* theModeFooter =
    "Examples:\n"
    "  rtiqn-packetserver mode --key 12 internal\n"
    "  rtiqn-packetserver mode --key 12 external";

constexpr const char* theStopFooter =
    "Examples:\n"
    "  rtiqn-packetserver stop --key 12\n"
    "  rtiqn-packetserver stop --key 12 --timeout 10    of a host that is slow";

std::string positiveComplaint(const std::string& text) {
    double value = 0;
    const bool good = CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value > 0;
    return good ? std::string() : "'" + text + "' is not a number above 0";
}

/// Where the paths are is of interest to tests only.
void addServer(CLI::App& command, int& key) {
    command.add_option("--key", key, "Which server: a number from 0 to 99999")
        ->required()
        ->check(CLI::Range(0, 99999))
        ->option_text("N");
    command
        .add_option_function<std::string>(
            "--directory",
            [](const std::string& path) {
                if (!DtSetPacketServerDirectory(DtString(path.c_str())))
                    throw CLI::ValidationError("--directory", "the path is empty or too long");
            },
            "")
        ->group("");
}

void addNetwork(CLI::App& command, NetworkOptions& network) {
    command.add_option("--port", network.port, "The UDP port to read, 0 for any (3000)")
        ->check(CLI::Range(0, 65535))
        ->option_text("N");
    command.add_option("--bind", network.bind, "Read on this address of the host only")
        ->option_text("ADDR");
    command
        .add_option("--device", network.device,
                    "Read on this network interface only, on its own address")
        ->option_text("NAME");
    command.add_option("--group", network.groups, "Multicast groups to join")
        ->option_text("ADDR...");
    command.add_flag_callback(
        "--no-unbundle", [&network] { network.unbundle = false; },
        "Hand over whole datagrams instead of the PDUs in them");
}

void addRun(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("run", theRunDescription);
    command->footer(theRunFooter);
    const auto options = std::make_shared<ServerOptions>();
    addServer(*command, options->key);
    addNetwork(*command, options->network);
    command->add_option("--max-clients", options->maxClients, "Serve no more packet clients (512)")
        ->check(CLI::Range(0, 512))
        ->option_text("N");
    command->add_flag("--internal", options->internal, "Serve no packet clients at first");
    command->add_flag("--allow-others", options->allowOthers,
                      "Serve programs of all users, not of this one only");
    command->add_flag("--quiet", options->quiet, "Tell nothing but errors until the end");
    command->final_callback(
        [options, choose] { choose([options] { return runServer(*options); }); });
}

std::shared_ptr<AskOptions> addAsking(CLI::App& command) {
    auto options = std::make_shared<AskOptions>();
    addServer(command, options->key);
    command.add_option("--timeout", options->timeout_s, "Wait so many seconds for an answer (2)")
        ->check(positiveComplaint)
        ->option_text("SECONDS");
    return options;
}

void addStatus(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("status", theStatusDescription);
    command->footer(theStatusFooter);
    const auto options = addAsking(*command);
    command
        ->add_option_function<std::string>(
            "--format", [options](const std::string& text) { options->json = text == "json"; },
            "Form of the output: text or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->option_text("text|json");
    command->final_callback(
        [options, choose] { choose([options] { return runStatus(*options); }); });
}

void addMode(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("mode", theModeDescription);
    command->footer(theModeFooter);
    const auto options = addAsking(*command);
    const auto mode = std::make_shared<std::string>();
    command->add_option("MODE", *mode, "internal or external")
        ->required()
        ->check(CLI::IsMember({"internal", "external"}))
        ->option_text("internal|external");
    command->final_callback([options, mode, choose] {
        choose([options, mode] { return runMode(*options, *mode == "external"); });
    });
}

void addStop(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("stop", "Ends a server in order.");
    command->footer(theStopFooter);
    const auto options = addAsking(*command);
    command->final_callback([options, choose] { choose([options] { return runStop(*options); }); });
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
    CLI::App app(theDescription, "rtiqn-packetserver");
    app.footer(theFooter);
    Command command;
    const Choose choose = [&](Command chosen) { command = std::move(chosen); };
    addRun(app, choose);
    addStatus(app, choose);
    addMode(app, choose);
    addStop(app, choose);
    return RtiqnTools::runProgram(app, argc, argv, command);
}

}  // namespace RtiqnPacketServer
