"""Programs that a soak starts, watches, kills and ends."""

import collections
import json
import re
import signal
import subprocess
import tempfile
import threading
import time

import system

PATIENCE_S = 20


class Failure(Exception):
    """A program did not do what the soak builds upon."""


_running = set()


def kill_all():
    for program in list(_running):
        program.kill()


class Program:
    """A process and what it says on standard error. It is killed with the soak."""

    def __init__(self, name, words, namespace=()):
        self.name = name
        self.lines = collections.deque(maxlen=1000)
        self._ended = False
        self._news = threading.Condition()
        self._out = tempfile.TemporaryFile("w+")
        # A session of its own, so that Ctrl-C is for the soak alone.
        self.process = subprocess.Popen(
            [*namespace, "setpriv", "--pdeathsig", "KILL", *map(str, words)],
            stdin=subprocess.DEVNULL, stdout=self._out, stderr=subprocess.PIPE, text=True,
            start_new_session=True)
        self.pid = self.process.pid
        _running.add(self)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self.process.stderr:
            with self._news:
                self._take(line.rstrip())
                self._news.notify_all()
        with self._news:
            self._ended = True
            self._news.notify_all()

    def _take(self, line):
        self.lines.append(line)

    def await_line(self, pattern, times=1):
        """The match in the line that has it for that time."""
        def found():
            return [match for match in (re.search(pattern, line) for line in self.lines) if match]
        with self._news:
            self._news.wait_for(lambda: self._ended or len(found()) >= times, PATIENCE_S)
            if len(found()) < times:
                raise Failure(f"{self.name} did not say /{pattern}/: {self.told()}")
            return found()[times - 1]

    def told(self):
        return " / ".join(list(self.lines)[-5:])

    def signal(self, number):
        if self.process.poll() is None:
            self.process.send_signal(number)

    def kill(self):
        self.signal(signal.SIGKILL)
        self.process.wait()
        self._close()

    def end(self):
        """Ends it in order; answers with its standard output."""
        self.signal(signal.SIGINT)
        try:
            status = self.process.wait(PATIENCE_S)
        except subprocess.TimeoutExpired:
            raise Failure(f"{self.name} does not end") from None
        self._out.seek(0)
        out = self._out.read()
        self._close()
        if status != 0:
            raise Failure(f"{self.name} ended with status {status}: {self.told()}")
        return out

    def _close(self):
        _running.discard(self)
        self._reader.join()
        self._out.close()
        self.process.stderr.close()

    def await_idle(self):
        """Waits until it has nothing to do any more."""
        await_that(self._rests, f"{self.name} to rest")

    def _rests(self):
        before = system.work(self.pid)
        time.sleep(0.1)
        return before[0] and system.work(self.pid) == before


def comes_true(condition, patience_s=PATIENCE_S):
    end = time.monotonic() + patience_s
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.02)
    return True


def await_that(condition, what):
    if not comes_true(condition):
        raise Failure(f"waited in vain for {what}")


class Receiver(Program):
    """A program that reads a UDP port."""

    port = None

    def await_drained(self):
        await_that(lambda: system.udp_socket(self.pid, self.port)[0] == 0,
                   f"{self.name} to read its socket empty")
        self.await_idle()

    def system_drops(self):
        return system.udp_socket(self.pid, self.port)[1]


class Listener(Receiver):
    """rtiqn-dis listen, on the network or, with a key, through the packet server. Its counters are
    at most a second old when they are asked for with --counters 1."""

    counters = None

    def __init__(self, name, tools, words):
        super().__init__(name, [tools / "rtiqn-dis/rtiqn-dis", "listen", "--quiet", "--format",
                                "json", *words])

    def _take(self, line):
        if line.startswith('{"counters":'):
            self.counters = json.loads(line)["counters"]
        else:
            super()._take(line)

    def await_network(self):
        self.port = int(self.await_line(r"listening on .*:(\d+)$")[1])

    def await_server(self, times=1):
        self.await_line("listening through the packet server", times)

    def end(self):
        """Its summary, and what it did not deliver by reason."""
        summary = json.loads(super().end())["summary"]
        return summary, {row["reason"]: row["count"] for row in summary["notDelivered"]}


class Server(Receiver):
    def __init__(self, name, tools, key, words):
        self._program = tools / "rtiqn-packetserver/rtiqn-packetserver"
        self._key = key
        super().__init__(name, [self._program, "run", "--key", key, *words])
        self.port = int(self.await_line(r"reading .*:(\d+), external$")[1])

    def status(self):
        """What it tells of itself. All requests that were made before this one are done then."""
        words = [self._program, "status", "--key", self._key, "--format", "json"]
        status = subprocess.run(list(map(str, words)), capture_output=True, text=True, check=False)
        if status.returncode != 0:
            raise Failure(f"{self.name} has no status: {status.stderr.strip()}")
        return json.loads(status.stdout)


class Replay(Program):
    def __init__(self, name, tools, capture, words, namespace=()):
        super().__init__(name, [tools / "rtiqn-dis/rtiqn-dis", "replay", capture, "--loop", 0,
                                *words], namespace)

    def end(self):
        """Datagrams that it has sent."""
        out = super().end()
        if "could not be sent" in out:
            raise Failure(f"{self.name} could not send: {self.told()}")
        return int(re.match(r"Sent (\d+) datagram", out)[1])
