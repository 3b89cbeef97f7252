# The goals, and whether they are reached. A goal that compares times is judged by instructions and synchronisations when the
# rounds' ratios swing by more than a fifth and these can be counted.
import os, statistics, subprocess

from measuring import BARE, COST, EMPTY, FROM_EXEC, LIBRARY, SYSTEMS, TYPED, spread

GSETTINGS = [name for name in SYSTEMS if name.startswith("GSettings")]
SQLITE = [name for name in SYSTEMS if name.startswith("SQLite")]
STEADY = 0.2
PERSISTENT = ("durable", "table", "bulk write", "import", "management", "reset")  # how operations begin that wait for the disk


def number(value):
    return f"{value:.3g}" if value < 1000 else f"{value:,.0f}"


class Goals:
    def __init__(self, bench):
        self.bench = bench
        self.rows = []

    def add(self, what, goal, figure, reached):
        self.rows.append((what, goal, figure, "reached" if reached else "**not reached**"))

    def at_most(self, what, goal, value, limit, unit=""):
        self.add(what, goal, number(value) + unit, value <= limit)

    def compare(self, what, goal, dividend, divisor, holds, counted=True):
        """Two pairs of system and operation; `holds` judges the quotient."""
        ratios = self.bench.ratios(dividend, divisor)
        figure, quotient = f"{number(statistics.median(ratios))} x", statistics.median(ratios)
        if (swing := spread(ratios)) <= STEADY or not counted:
            figure += f" ±{100 * swing:.0f} %" if swing else ""
            self.add(what, goal, figure, holds(quotient))
            return
        quotient = self.total(dividend) / self.total(divisor)
        figure += f" ±{100 * swing:.0f} %, hence by instructions: {number(quotient)} x"
        reached = holds(quotient)
        if what.startswith(PERSISTENT):
            own, other = sorted([dividend, divisor], key=lambda pair: pair[0] != LIBRARY)
            syncs = [self.bench.calls(*pair).fewest for pair in (own, other)]
            figure += f" with {syncs[0]} against {syncs[1]} syncs"
            reached = reached and syncs[0] <= syncs[1]
        self.add(what, goal, figure, reached)

    def total(self, pair):
        system, operation = pair
        return self.bench.total(system, "start" if operation == FROM_EXEC else operation)

    def faster(self, operation, times, others, own=LIBRARY, what=None, counted=True):
        other = min(others, key=lambda system: self.bench.median(system, operation))
        self.compare(what or operation, f"{times} x faster than {other}", (other, operation), (own, operation),
                     lambda quotient: quotient >= times, counted)

    def within(self, operation, times, other, goal, counted=True, own=LIBRARY):
        self.compare(operation, goal, (own, operation), other, lambda quotient: quotient <= times, counted)

    def syncs(self, operation, most):
        calls = self.bench.calls(LIBRARY, operation)
        figure = str(calls.most) if calls.fewest == calls.most else f"{calls.fewest} to {calls.most}"
        if most == 1:
            self.add(operation, "exactly one sync, checkpoints aside", figure, calls.fewest == calls.most == 1)
        else:
            self.add(operation, f"at most {most} syncs, checkpoints aside", figure, calls.most <= most)

    def instructions(self, what, system, operation, most):
        self.at_most(what, f"at most {most:,} instructions", self.bench.total(system, operation), most)


def goals(bench):
    """Operation, goal, reached figure, whether it is reached."""
    all = Goals(bench)
    median = bench.median

    def most_of(operation, other=None):
        """The worst round, of the differences when another operation is given."""
        values = bench.figures[LIBRARY, operation]
        return max(a - b for a, b in zip(values, bench.figures[LIBRARY, other])) if other else max(values)

    all.within("read int", 1.6, ("machine", "recursive mutex, lock and unlock"),
               "at most 1.6 x lock and unlock of a recursive mutex", counted=False)
    all.faster("read int", 5, ["LMDB"])
    all.faster("read int", 80, GSETTINGS)
    all.faster("read int", 100, SQLITE)
    all.faster("read string", 4, ["LMDB"])
    all.faster("read string", 20, GSETTINGS)
    all.at_most("read int, two readers", "at most 0.3 µs each", median(LIBRARY, "read int, two readers") / 1000, 0.3, " µs")
    for operation in ("write unchanged", "write refused"):
        all.at_most(operation, "no system call", bench.calls(LIBRARY, operation).calls, 0)
    for operation, most in (("write unchanged", 230), ("change, one callback", 1500)):
        all.instructions(f"{operation}, nothing stored", COST, operation, most)
    all.within("change beside 640 items", 1.1, (COST, "change beside 10 items"), "as beside 10 (at most 1.1 x)", own=COST)
    all.faster("change, one callback", 20, ["GSettings memory"], own=COST, what="change, one callback, nothing stored")
    all.syncs("durable change", 1)
    all.within("durable change", 1.15, ("SQLite FULL", "durable change"), "at most 1.15 x SQLite FULL")
    all.faster("durable change", 1.7, ["GSettings keyfile"])
    all.faster("durable change", 7, ["GSettings dconf"], counted=False)  # most of it happens in dconf's service
    all.syncs("table change, 15 rows", 1)
    all.instructions("table change, 15 rows", LIBRARY, "table change, 15 rows", 800_000)
    all.faster("bulk read of 100", 10, GSETTINGS)
    all.faster("bulk read of 100", 3, SQLITE)
    all.syncs("bulk write of 100", 1)
    all.within("bulk write of 100", 2, ("SQLite FULL", "bulk write of 100"),
               "at most 2 x SQLite FULL in one transaction")
    for operation in ("bulk write of all single settings", "import of a whole telephone", "management set over four tables",
                      "reset of the audio settings", "reset of all user data"):
        all.syncs(operation, 2)
    all.within(FROM_EXEC, 1.4, (BARE, FROM_EXEC), "at most 1.4 x bare SQLite reading the same rows")
    all.instructions("exec to first value", LIBRARY, "start", 7_500_000)
    for most in (520, 450):
        all.at_most("anonymous memory", f"at most {most} kB more than an empty program", memory_above_empty(bench), most, " kB")
    all.within("longest read beside a writer", 2, (LIBRARY, "durable change"), "at most two durable changes", counted=False)
    all.within("longest read beside a writer", 2, (LIBRARY, "longest change of that writer"),
               "at most two of that writer's longest changes", counted=False)
    all.at_most("longest read beside a writer, reader not descheduled",
                "at most 2 ms more than that writer's longest change, in each round",
                most_of("the same, reader not descheduled", "longest change of that writer") / 1e6, 2, " ms")
    for operation, what, most in (("read int", "typed read int", 10), ("get of a text", "get of a text of 27", 20)):
        all.at_most(what, f"at most {most} ns", median(TYPED, operation), most, " ns")
    all.instructions("get of a setting", TYPED, "get of a setting", 50)
    for operation, times in (("read int, two readers", 1), ("read int, four readers", max(1, 4 / os.cpu_count()))):
        all.within(operation, 1.2 * times, (TYPED, "read int"), f"at most 1.2 x a typed read, {number(times)} threads a processor",
                   counted=False, own=TYPED)
    all.add("typed reads beside a writer", "at least 8 million a second",
            number(median(TYPED, "reads per second beside a writer") / 1e6) + " million",
            median(TYPED, "reads per second beside a writer") >= 8e6)
    all.at_most("typed read beside a writer, p99.9", "at most 3 µs", median(TYPED, "read beside a writer, p99.9") / 1000, 3, " µs")
    all.at_most("anonymous memory of typed settings", "at most 30 kB more than without",
                median(TYPED, "anonymous memory") - median(LIBRARY, "anonymous memory"), 30, " kB")
    all.at_most("library, stripped", "at most 440 kB", stripped_size(bench) / 1000, 440, " kB")
    return all.rows


def memory_above_empty(bench):
    return bench.median(LIBRARY, "anonymous memory") - bench.median(EMPTY, "anonymous memory")


def stripped_size(bench):
    target = os.path.join(bench.scratch, "stripped.so")
    subprocess.run(["strip", "-o", target, f"{bench.build}/libmediadata.so"], check=True)
    return os.path.getsize(target)
