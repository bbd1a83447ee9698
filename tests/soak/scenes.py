"""What happens to the programs, and what must hold behind it.

A server's life: a steady client and a witness connect; traffic comes, and beside them a crowd of
clients is started, stopped and killed. Once the traffic has ended and everybody has read what there
was, the server must hold what it held before, and the accounts must balance.
"""

import random
import signal
import time

import system
import traffic
from judge import MemoryWatch
from programs import Listener, Server, await_that, comes_true
from traffic import DirectStream, ImpairedStream, Link

# Counters of a socket that only receives what is as it should be; all others are 0.
RECEIVED = {"totalBytesReceived", "totalPacketsReceived", "kernelDrops"}


class Crowd:
    """Clients that die."""

    SIZE = 3
    SELECTIONS = ([], ["--kind", "fire"], ["--not-kind", "signal"])

    def __init__(self, soak):
        self._soak = soak
        self._random = random.Random(soak.seed)
        self._clients = []
        self.killed = 0

    def disturb(self):
        """One more, or something happens to one of them."""
        if len(self._clients) < self.SIZE:
            self._clients.append(self._soak.client(
                "client", self._random.choice(self.SELECTIONS)))
            return
        client = self._random.choice(self._clients)
        what = self._random.choice((signal.SIGSTOP, signal.SIGCONT, signal.SIGKILL))
        if what == signal.SIGKILL:
            self._kill(client)
        else:
            client.signal(what)

    def _kill(self, client):
        client.kill()
        self._clients.remove(client)
        self.killed += 1

    def end(self):
        """The last to die is one that the server knows. Then it also removes what was left by those
        that died before it knew them."""
        while self._clients:
            self._kill(self._clients[0])
        self._clients.append(self._soak.client("client", []))
        self._clients[0].await_server()
        self._kill(self._clients[0])


class Scene:
    SAMPLE_S = 0.5
    NEWS_S = 60
    DISTURBANCE_S = 0.4
    REMOVAL_S = 5  # the server looks for what it could not remove yet every second
    # The witness misses some then, but not as many as the packets' numbers can count: 65535.
    PAUSE_S = 0.3

    def __init__(self, soak, network, port):
        self._soak = soak
        self._judge = soak.judge
        self._network = network
        self._port = port
        self._servers = 0
        self._interruptions = 0
        self._watches = []
        self._next_sample = 0
        self._next_news = time.monotonic() + self.NEWS_S
        self._most_objects = 0
        self._listener = Listener("listener", soak.tools, [
            *network, "--port", port, "--counters", 1])
        self._listener.await_network()
        self._steady = soak.client("steady client", [])
        for program in (self._listener, self._steady):
            self._watch(program)
        self._listener_held = system.holdings(self._listener.pid)

    @property
    def listener_port(self):
        return self._listener.port

    # ------------------------------------------------------------------------------ time

    def _watch(self, program):
        self._watches.append(MemoryWatch(program.name, program.pid))

    def _unwatch(self, program):
        watch = next(watch for watch in self._watches if watch.pid == program.pid)
        self._watches.remove(watch)
        watch.judge(self._judge)

    def _sample(self):
        for watch in self._watches:
            watch.samples_kib.append(system.own_memory_kib(watch.pid))
        objects = len(self._soak.new_ipc_objects())
        self._most_objects = max(self._most_objects, objects)
        if time.monotonic() >= self._next_news:
            self._next_news += self.NEWS_S
            self._judge.note(", ".join(f"{watch.name} {watch.samples_kib[-1]} KiB"
                                       for watch in self._watches)
                             + f", {objects} segments and pairs of semaphores")

    def pass_time(self, seconds, *actions):
        """Actions are pairs of a period in seconds and what to do."""
        end = time.monotonic() + seconds
        due = [time.monotonic() + period for period, _ in actions]
        while time.monotonic() < end and not self._soak.stop.wait(0.05):
            now = time.monotonic()
            if now >= self._next_sample:
                self._next_sample = now + self.SAMPLE_S
                self._sample()
            for index, (period, act) in enumerate(actions):
                if now >= due[index]:
                    act()
                    due[index] = time.monotonic() + period

    # ------------------------------------------------------------------------------ server

    def _start_server(self, port):
        self._servers += 1
        server = Server(f"server {self._servers}", self._soak.tools, self._soak.key,
                        [*self._network, "--port", port])
        self._watch(server)
        self._steady.await_server(self._servers)
        return server

    def _kill_server(self, server):
        self._watches = [watch for watch in self._watches if watch.pid != server.pid]
        server.kill()
        self._judge.note(f"{server.name} is killed")

    def _await_clients(self, server, count):
        await_that(lambda: server.status()["packetClients"] == count, f"{server.name} to have {count} clients")
        server.await_idle()  # it has let the one that asked go

    def _pause(self, client):
        client.signal(signal.SIGSTOP)
        self.pass_time(self.PAUSE_S)
        client.signal(signal.SIGCONT)

    def _interrupt(self, stream, server):
        """Datagrams must come again after it."""
        def received():
            return self._listener.counters["datagrams"], server.status()["server"]["packets"]
        stream.interrupt(1, self.pass_time)
        before = received()
        await_that(lambda: all(now > then for now, then in zip(received(), before)),
                   "datagrams after the link was down")
        self._interruptions += 1

    def life(self, seconds, make_stream, kill=False, interrupt_s=0):
        """The fewest and the most datagrams that the stream may have brought."""
        server = self._start_server(self._port)
        witness = self._soak.client("witness", ["--kind", "fire"])
        witness.await_server()
        self._await_clients(server, 2)
        held = [system.holdings(program.pid) for program in (server, self._steady)]
        stream, crowd = make_stream(server), Crowd(self._soak)
        actions = [(self.DISTURBANCE_S, crowd.disturb), (1.1, lambda: self._pause(witness))]
        if interrupt_s:
            actions.append((interrupt_s, lambda: self._interrupt(stream, server)))
        self.pass_time(seconds / 2 if kill else seconds, *actions)
        if kill:
            port = server.port
            self._kill_server(server)
            server = self._start_server(port)
            witness.await_server(2)
            self.pass_time(seconds / 2, *actions)
        crowd.end()
        brought = stream.end()
        self._judge.note(f"{server.name}: {crowd.killed} clients were killed")
        self._settle(server, witness)
        self._judge_holdings(server, held)
        self._end_life(server, witness, None if kill else brought)
        return brought

    def _settle(self, server, witness):
        server.await_drained()
        for client in (self._steady, witness):
            client.await_idle()
        self._await_clients(server, 2)

    def _judge_holdings(self, server, held):
        for program, before in zip((server, self._steady), held):
            after = system.holdings(program.pid)
            self._judge.holds_quietly(after == before,
                                      f"{program.name} holds {after}; before it held {before}")
        as_many = comes_true(lambda: len(self._soak.new_ipc_objects()) == 4, self.REMOVAL_S)
        self._judge.holds_quietly(as_many, "two clients have a segment and semaphores each, but "
                                  f"there are {sorted(self._soak.new_ipc_objects())}")

    def _end_life(self, server, witness, brought):
        dropped = server.system_drops()
        summary, lost = witness.end()
        self._unwatch(server)
        status = server.status()
        server.end()
        name, pdus = server.name, status["server"]["packets"]
        socket = status["socket"]
        others = {key: count for key, count in socket.items() if count and key not in RECEIVED}
        self._judge.holds_quietly(
            socket["kernelDrops"] == dropped and not others,
            f"{name}: counts {socket['kernelDrops']} and {others}, but the system dropped {dropped}")
        if brought is None:
            return
        datagrams, rest = divmod(pdus, traffic.PDUS_OF_DATAGRAM)
        self._judge.holds_quietly(rest == 0 and pdus > 0, f"{name}: {pdus} PDUs, not three each")
        self._judge_received(name, brought, datagrams, dropped)
        overwritten, unwritten = (lost.pop(reason, 0)
                                  for reason in ("serverOverwritten", "serverUnwritten"))
        self._judge.equal(f"{name}: fires = read by the witness + overwritten + not written",
                          datagrams, summary["pdus"], overwritten, unwritten)
        self._judge.holds_quietly(not lost, f"witness: lost {lost}")

    # ------------------------------------------------------------------------------ accounts

    def _judge_received(self, name, brought, received, dropped):
        fewest, most = brought
        if fewest == most:
            self._judge.equal(f"{name}: sent = received + dropped", most, received, dropped)
        else:
            self._judge.holds(
                fewest <= received + dropped <= most,
                f"{name}: sent {fewest}, or {most} with those while the link was down = received "
                f"+ dropped: {received} + {dropped}")

    def finish(self, brought):
        """Ends what lives as long as the scene; the listener was brought so many datagrams."""
        self._listener.await_drained()
        dropped = self._listener.system_drops()
        held = system.holdings(self._listener.pid)
        self._judge.holds_quietly(held == self._listener_held,
                                  f"listener holds {held}; before it held {self._listener_held}")
        for program in (self._listener, self._steady):
            self._unwatch(program)
        summary, lost = self._listener.end()
        counted = lost.pop("kernelDropped", 0)
        self._judge.holds_quietly(
            counted == dropped and not lost,
            f"listener: counts {counted} and {lost}, but the system dropped {dropped}")
        self._judge.holds_quietly(
            summary["pdus"] == traffic.PDUS_OF_DATAGRAM * summary["datagrams"],
            f"listener: {summary['pdus']} PDUs in {summary['datagrams']} datagrams")
        self._judge_received("listener", brought, summary["datagrams"], dropped)
        pdus = self._steady.end()[0]["pdus"]
        self._judge.holds(pdus > 0, f"steady client: {pdus} PDUs of {self._servers} servers")
        if self._interruptions:
            self._judge.note(f"the link was down {self._interruptions} times")
        self._judge.note(f"at most {self._most_objects} segments and pairs of semaphores at once")


# ------------------------------------------------------------------------------------------------

def local(soak, seconds):
    """Full rate over loopback; one server with half of the time, others of which every second is
    killed."""
    scene = Scene(soak, ["--bind", "127.0.0.1"], 0)
    background = DirectStream(soak, scene.listener_port)
    for share, kill in ((0.5, False), (0.15, True), (0.1, False), (0.15, True), (0.1, False)):
        if not soak.stop.is_set():
            scene.life(share * seconds, lambda server: DirectStream(soak, server.port), kill)
    scene.finish(background.end())


def impaired(soak, seconds):
    """Between two network namespaces, over the forwarder, while the link goes down and up."""
    link = Link()
    group, port = "239.1.2.3", 3000
    scene = Scene(soak, ["--group", group], port)
    brought = scene.life(seconds, lambda _: ImpairedStream(soak, link, group, port),
                         interrupt_s=max(2, seconds / 10))
    scene.finish(brought)
    link.remove()
