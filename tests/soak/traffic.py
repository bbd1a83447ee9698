"""What is sent to the receivers, and the networks that it goes through."""

import json
import signal
import struct
import subprocess
import sys
from pathlib import Path

import system
from programs import Failure, Program, Receiver, Replay, await_that

PORT = 3000  # of the capture
PDUS_OF_DATAGRAM = 3  # each of another kind, so that what a client selects can be told exactly
DATAGRAMS = 500


def write_capture(path):
    """Bundles of DIS 7: Entity State, Fire, and a Signal of changing size."""
    with open(path, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xa1b2c3d4, 2, 4, 0, 0, 65535, 228))  # raw IPv4
        for number in range(DATAGRAMS):
            payload = (_pdu(1, 144, number) + _pdu(2, 96, number)
                       + _pdu(26, 32 + 8 * (number % 100), number))
            packet = _udp_packet(payload)
            file.write(struct.pack("<IIII", 1700000000, number, len(packet), len(packet)) + packet)


def _pdu(kind, size, number):
    return struct.pack(">BBBBIHBB", 7, 7, kind, 1, number, size, 0, 0) + bytes(size - 12)


def _udp_packet(payload):
    size = len(payload) + 8
    return (struct.pack(">BBHHHBBH4s4s", 0x45, 0, 20 + size, 0, 0, 64, 17, 0,
                        bytes((192, 0, 2, 10)), bytes((192, 0, 2, 255)))
            + struct.pack(">HHHH", PORT, PORT, size, 0) + payload)


class DirectStream:
    """A replay at full rate over the loopback interface."""

    def __init__(self, soak, port):
        self._replay = Replay("replay", soak.tools, soak.capture,
                              ["--to", f"127.0.0.1:{port}", "--top-speed"])

    def end(self):
        """The fewest and the most datagrams that may have got to a receiver."""
        sent = self._replay.end()
        return sent, sent

    def kill(self):
        self._replay.kill()


class ImpairedStream:
    """A replay to the forwarder, and that one over the link."""

    # Python forwards some ten thousand datagrams a second on one processor that others use, too.
    RATE = 3000
    IMPAIRMENT = ["--loss", 0.05, "--duplicate", 0.03, "--late", 0.1, "--delay", 0.02]

    def __init__(self, soak, link, group, port):
        self._link = link
        self._forwarder = Receiver("forwarder", [
            sys.executable, "-B", Path(__file__).with_name("forwarder.py"), "--to", group,
            "--port", port, "--device", link.FAR, "--seed", soak.seed, *self.IMPAIRMENT], link.far)
        self._forwarder.port = int(self._forwarder.await_line(r"from port (\d+)")[1])
        self._replay = Replay("replay", soak.tools, soak.capture, [
            "--to", f"127.0.0.1:{self._forwarder.port}", "--pps", self.RATE], link.far)
        self._judge = soak.judge
        self._signals = 0

    def _tell(self, number):
        self._forwarder.signal(number)
        self._signals += 1
        self._forwarder.await_line("signal", self._signals)

    def interrupt(self, seconds, wait):
        """The link goes down for a while."""
        self._tell(signal.SIGUSR1)
        self._link.set_down()
        wait(seconds)
        self._link.set_up()
        self._tell(signal.SIGUSR2)

    def end(self):
        replayed = self._replay.end()
        self._forwarder.await_drained()
        dropped = self._forwarder.system_drops()
        counts = json.loads(self._forwarder.end())
        refused = sum(counts["refused"].values())
        received = counts["received"]
        self._judge.equal("forwarder: replayed = received + dropped", replayed, received, dropped)
        self._judge.equal("forwarder: received + duplicated = sent + lost + refused",
                          received + counts["duplicated"], counts["sent"], counts["lost"], refused)
        self._judge.note(f"forwarder: {counts['delayed']} late, {counts['sentWhileDown']} sent "
                         f"while the link was down, refused {counts['refused']}")
        return counts["sent"] - counts["sentWhileDown"], counts["sent"]

    def kill(self):
        self._replay.kill()
        self._forwarder.kill()


class Link:
    """Two interfaces that are connected: NEAR here, FAR in a network namespace of its own, which
    goes with the process that holds it."""

    NEAR, FAR = "soak-near", "soak-far"
    ADDRESSES = {NEAR: "192.0.2.1/24", FAR: "192.0.2.2/24"}

    def __init__(self):
        self._holder = Program("namespace", ["unshare", "--net", "sleep", "infinity"])
        await_that(self._is_apart, "the network namespace")
        self.far = ["nsenter", "--net=/proc/%d/ns/net" % self._holder.pid]
        self._ip([], "link", "add", self.NEAR, "type", "veth", "peer", "name", self.FAR,
                 "netns", self._holder.pid)
        self._ip(self.far, "link", "set", "lo", "up")
        for name in self.ADDRESSES:
            self._ip(self._namespace(name), "address", "add", self.ADDRESSES[name], "dev", name)
            self._ip(self._namespace(name), "link", "set", name, "up")
        self.set_up()
        self._next = self.NEAR
        self._is_down = None

    def _is_apart(self):
        """The process has its namespace before it becomes `sleep`."""
        return Path(f"/proc/{self._holder.pid}/comm").read_text() == "sleep\n"

    def _namespace(self, name):
        return self.far if name == self.FAR else []

    def _ip(self, namespace, *words):
        told = subprocess.run([*namespace, "ip", *map(str, words)], capture_output=True, text=True,
                              check=False)
        if told.returncode != 0:
            raise Failure(f"ip {' '.join(map(str, words))}: {told.stderr.strip()}")

    def set_down(self):
        """Now one end, now the other."""
        self._is_down, self._next = self._next, self.FAR if self._next == self.NEAR else self.NEAR
        self._ip(self._namespace(self._is_down), "link", "set", self._is_down, "down")

    def set_up(self):
        for name in self.ADDRESSES:
            self._ip(self._namespace(name), "link", "set", name, "up")
        for name in self.ADDRESSES:
            await_that(lambda n=name: system.interface_is_up(n, self._namespace(n)), "the link")
        # Routes go with the interface. Receivers join groups on the one that the route names.
        self._ip([], "route", "replace", "239.0.0.0/8", "dev", self.NEAR)

    def remove(self):
        self._holder.kill()
