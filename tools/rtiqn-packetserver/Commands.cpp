#include "Commands.h"

#include <nlohmann/json.hpp>

#include "ControlClient.h"
#include "Errors.h"
#include "Exceptions.h"
#include "FiguresText.h"
#include "KeyLock.h"
#include "StatusText.h"
#include "common/Console.h"

namespace RtiqnPacketServer {

using namespace OrynRti;

namespace {

constexpr double theEndOfAnother_s = 1.0;

std::string serverOf(int key) {
    return "packet server with key " + std::to_string(key);
}

/// The right to the key. One that is ending has no path any more, and is waited for.
KeyLock lockOf(int key) {
    auto lock = KeyLock::take(key, 0);
    if (!lock && !isServerThere(key))
        lock = KeyLock::take(key, theEndOfAnother_s);
    if (!lock || isServerThere(key))
        throw ProgramError(
            theOtherwise, "there is a " + serverOf(key) + " already: stop it, or take another key");
    return std::move(*lock);
}

std::string serve(const ServerOptions& options, EventLog& log) {
    Signals signals;
    Server server(options, log);
    server.run(signals);
    return figuresText(server.figures());
}

}  // namespace

int runServer(const ServerOptions& options) {
    const KeyLock lock = lockOf(options.key);
    EventLog log(options.quiet);
    const std::string summary = serve(options, log);
    writeWholeOutput(summary);
    return theSuccess;
}

int runStatus(const AskOptions& options) {
    ControlClient client(options.key, options.timeout_s);
    const std::string figures = client.askFigures();
    try {
        writeWholeOutput(options.json ? statusJson(options.key, client.state(), figures)
                                      : statusText(client.state(), figures));
    } catch (const nlohmann::json::exception&) {
        throw ProgramError(theNoAnswer,
                           "what the " + serverOf(options.key) +
                               " answers makes no sense; it may be of another version");
    }
    return theSuccess;
}

int runMode(const AskOptions& options, bool external) {
    ControlClient client(options.key, options.timeout_s);
    client.request(external ? DtCsTurnExternal : DtCsTurnInternal);
    client.ask();  // what is asked later is answered later
    if (DtPacketServerIsAlive(options.key) != (external ? 1 : -1))
        throw ProgramError(theNoAnswer, "the " + serverOf(options.key) + " did not turn " +
                                            (external ? "external" : "internal") +
                                            ": only its own user may ask for that");
    return theSuccess;
}

int runStop(const AskOptions& options) {
    ControlClient client(options.key, options.timeout_s);
    client.request(DtCsStop);
    client.awaitClosing();
    if (!KeyLock::take(options.key, options.timeout_s))
        throw ProgramError(theNoAnswer, "the " + serverOf(options.key) + " is still ending");
    return theSuccess;
}

}  // namespace RtiqnPacketServer
