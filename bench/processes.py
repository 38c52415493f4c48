"""What a program and all the programs it started use, from /proc."""
import os
import pathlib

TICKS_PER_SECOND = os.sysconf("SC_CLK_TCK")


def _stat(pid):
    """The fields behind the name: state, parent, ... (proc(5)), or None when the process has gone."""
    try:
        text = pathlib.Path(f"/proc/{pid}/stat").read_text()
    except OSError:
        return None
    return text[text.rindex(")") + 2:].split()


class ProcessTree:
    def __init__(self, root):
        self._seen = {root}   # whoever was once a descendant stays one when its parent ends
        self._used = {}       # ticks of the processor, by process

    def _living(self):
        stats = {int(name): stat for name in os.listdir("/proc") if name.isdigit() and (stat := _stat(name))}
        grown = True
        while grown:
            children = {pid for pid, stat in stats.items() if int(stat[1]) in self._seen} - self._seen
            self._seen |= children
            grown = bool(children)
        return {pid: stats[pid] for pid in self._seen if pid in stats}

    def memory(self):
        """Bytes of all together; what they share counts once (the sum of proportional set sizes)."""
        return sum(self._memory_by_program("Pss:").values())

    def own_memory_by_program(self):
        """By name: the bytes that are in no file, so that it does not matter who else runs the same programs."""
        return self._memory_by_program("Pss_Anon:")

    def _memory_by_program(self, kind):
        total = {}
        for pid in self._living():
            try:
                name = pathlib.Path(f"/proc/{pid}/comm").read_text().strip()
                for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
                    if line.startswith(kind):
                        total[name] = total.get(name, 0) + int(line.split()[1]) * 1024
            except OSError:
                pass   # ended meanwhile
        return total

    def open_handles(self):
        """How many processes live, and how many files, sockets and the like they hold open together."""
        processes = handles = 0
        for pid in self._living():
            try:
                handles += len(os.listdir(f"/proc/{pid}/fd"))
                processes += 1
            except OSError:
                pass   # ended meanwhile
        return processes, handles

    def processor_seconds(self):
        """Used so far; what has ended since the last call counts with what it had used then."""
        self._used |= {pid: int(stat[11]) + int(stat[12]) for pid, stat in self._living().items()}
        return sum(self._used.values()) / TICKS_PER_SECOND
