"""Forwards UDP datagrams as a bad network would: some are lost, some come twice, some late and
so behind their successors. Prints what it did to each as JSON when SIGTERM or SIGINT ends it.

SIGUSR1 tells it that the interface to the target is about to go down, SIGUSR2 that it is up again;
what it sends between is counted apart, since nobody can tell whether it arrives.
"""

import argparse
import collections
import errno
import heapq
import json
import random
import select
import signal
import socket
import sys
import time

BATCH = 64
BUFFER_BYTES = 4 << 20


class Forwarder:
    def __init__(self, options):
        self._options = options
        self._random = random.Random(options.seed)
        self._target = (options.to, options.port)
        self._input = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._input.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, BUFFER_BYTES)
        self._input.bind((options.listen, 0))
        self._input.setblocking(False)
        self._output = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        if options.device:
            # struct ip_mreqn: group and address unset, index of the interface
            index = socket.if_nametoindex(options.device)
            self._output.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF,
                                    bytes(8) + index.to_bytes(4, sys.byteorder))
        self._late = []
        self._down = False
        self._ending = False
        self.counts = collections.Counter(
            received=0, lost=0, duplicated=0, delayed=0, sent=0, sentWhileDown=0)
        self.refused = collections.Counter()

    def on_signal(self, number, _):
        if number == signal.SIGUSR1:
            self._down = True
        elif number == signal.SIGUSR2:
            self._down = False
        else:
            self._ending = True
        print("signal", number, file=sys.stderr, flush=True)

    def run(self):
        print("forwarding from port", self._input.getsockname()[1], file=sys.stderr, flush=True)
        while not self._ending or self._late:
            select.select([self._input], [], [], self._wait_s())
            self._send_late()
            self._read()

    def _wait_s(self):
        return max(0.0, min(0.1, self._late[0][0] - time.monotonic())) if self._late else 0.1

    def _read(self):
        for _ in range(BATCH):
            try:
                datagram = self._input.recv(65536)
            except BlockingIOError:
                return
            self.counts["received"] += 1
            if self._happens(self._options.loss):
                self.counts["lost"] += 1
                continue
            self._forward(datagram)
            if self._happens(self._options.duplicate):
                self.counts["duplicated"] += 1
                self._forward(datagram)

    def _forward(self, datagram):
        if not self._happens(self._options.late):
            self._send(datagram)
            return
        self.counts["delayed"] += 1
        due = time.monotonic() + self._random.uniform(0, self._options.delay)
        heapq.heappush(self._late, (due, self.counts["delayed"], datagram))

    def _send_late(self):
        now = time.monotonic()
        while self._late and self._late[0][0] <= now:
            self._send(heapq.heappop(self._late)[2])

    def _send(self, datagram):
        down = self._down
        try:
            self._output.sendto(datagram, self._target)
        except OSError as problem:
            self.refused[errno.errorcode[problem.errno]] += 1
            return
        self.counts["sent"] += 1
        self.counts["sentWhileDown"] += down or self._down

    def _happens(self, rate):
        return self._random.random() < rate


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--listen", default="127.0.0.1", metavar="ADDR")
    parser.add_argument("--to", required=True, metavar="ADDR")
    parser.add_argument("--port", type=int, required=True, help="of the target")
    parser.add_argument("--device", help="interface for multicast")
    parser.add_argument("--seed", type=int, default=1)
    for rate in ("loss", "duplicate", "late"):
        parser.add_argument(f"--{rate}", type=float, default=0, metavar="RATE", help="0 to 1")
    parser.add_argument("--delay", type=float, default=0.02, metavar="SECONDS",
                        help="how late at most")
    forwarder = Forwarder(parser.parse_args())
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGUSR1, signal.SIGUSR2):
        signal.signal(number, forwarder.on_signal)
    forwarder.run()
    print(json.dumps({**forwarder.counts, "refused": forwarder.refused}))


if __name__ == "__main__":
    main()
