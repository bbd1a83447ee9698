"""What was found to hold and what was not, and whether memory stays flat."""

import statistics


class Judge:
    """Prints the findings as they are made."""

    def __init__(self):
        self.held = 0
        self.faults = []

    def holds(self, condition, text):
        self.holds_quietly(condition, text)
        if condition:
            print("  ok     " + text, flush=True)

    def holds_quietly(self, condition, text):
        """For what nobody wants to read unless it does not hold."""
        if condition:
            self.held += 1
        else:
            self.faults.append(text)
            print("  FAULT  " + text, flush=True)

    def equal(self, text, total, *parts):
        self.holds(total == sum(parts), f"{text}: {total} = {' + '.join(map(str, parts))}")

    def note(self, text):
        print("         " + text, flush=True)


class MemoryWatch:
    """The own memory of a process over time."""

    SHORTEST = 16  # samples, below which nothing can be said
    TOLERANCE_KIB = 256  # the allocator takes 132 KiB at a time

    def __init__(self, name, pid):
        self.name = name
        self.pid = pid
        self.samples_kib = []

    def judge(self, judge):
        """The middle of the last quarter against that of the second one: the first is for warming
        up."""
        count = len(self.samples_kib)
        if count < self.SHORTEST:
            return
        early = statistics.median(self.samples_kib[count // 4:count // 2])
        late = statistics.median(self.samples_kib[-count // 4:])
        judge.holds(late - early <= self.TOLERANCE_KIB,
                    f"{self.name}: memory is flat: {early:.0f} KiB after warming up, "
                    f"{late:.0f} KiB at the end, {max(self.samples_kib)} KiB at most")
