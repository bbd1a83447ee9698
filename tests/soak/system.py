"""What the system tells of processes, sockets, IPC objects and interfaces."""

import os
import re
import subprocess
from pathlib import Path
from typing import NamedTuple


class Holdings(NamedTuple):
    """What a process must not have more of when it has done its work than before it."""
    descriptors: int
    threads: int
    segments: int  # attached

    def __str__(self):
        return (f"{self.descriptors} descriptors, {self.threads} thread(s), "
                f"{self.segments} segment(s)")


def holdings(pid):
    proc = Path("/proc") / str(pid)
    threads = int(re.search(r"Threads:\s+(\d+)", (proc / "status").read_text())[1])
    return Holdings(len(os.listdir(proc / "fd")), threads,
                    (proc / "maps").read_text().count("/SYSV"))


def own_memory_kib(pid):
    """Resident memory that is neither of files nor shared."""
    return int(re.search(r"RssAnon:\s+(\d+)", Path(f"/proc/{pid}/status").read_text())[1])


def work(pid):
    """(whether it waits for something, processor time used)."""
    words = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return words[0] == "S", int(words[11]) + int(words[12])


def udp_socket(pid, port):
    """(bytes that wait, datagrams dropped) of the process's socket on that port."""
    inodes = set()
    for descriptor in os.listdir(f"/proc/{pid}/fd"):
        try:
            inodes.add(os.readlink(f"/proc/{pid}/fd/{descriptor}"))
        except FileNotFoundError:
            pass
    for line in Path(f"/proc/{pid}/net/udp").read_text().splitlines()[1:]:
        words = line.split()
        if words[1].endswith(f":{port:04X}") and f"socket:[{words[9]}]" in inodes:
            return int(words[4].split(":")[1], 16), int(words[12])
    raise LookupError(f"process {pid} has no socket on port {port}")


def ipc_objects():
    """Segments and semaphore sets of this IPC namespace, as pairs of kind and identifier."""
    return {(kind, line.split()[1]) for kind in ("shm", "sem")
            for line in Path(f"/proc/sysvipc/{kind}").read_text().splitlines()[1:]}


def interface_is_up(name, namespace):
    shown = subprocess.run(namespace + ["ip", "-o", "link", "show", name], check=True,
                           capture_output=True, text=True).stdout
    return "state UP" in shown
