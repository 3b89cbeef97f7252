# The systems of the benchmark, how each is run, and what is taken from it: times, system calls, instructions, memory.
import functools, json, os, re, statistics, subprocess, sys, tempfile
from collections import Counter, defaultdict, namedtuple

SYSTEMS = {  # title: program, variant; those that are compared stand together, since the disk's speed changes
    "library": ("library", "-"),
    "library, typed settings": ("library", "typed"),
    "SQLite FULL": ("sqlite", "FULL"),
    "SQLite exclusive": ("sqlite", "exclusive"),
    "GSettings keyfile": ("gsettings", "keyfile"),
    "GSettings dconf": ("gsettings", "dconf"),
    "SQLite NORMAL": ("sqlite", "NORMAL"),
    "LMDB": ("lmdb", "-"),
    "library, nothing stored": ("cost", "-"),
    "GSettings memory": ("gsettings", "memory"),
}
LIBRARY, TYPED, COST = "library", "library, typed settings", "library, nothing stored"
BARE = "bare SQLite"  # opens what the library stored and reads all rows
EMPTY = "an empty program"
FROM_EXEC = "start-up from exec"
PROGRAMS = {**SYSTEMS, BARE: ("sqlite", "bare")}

# What callgrind and smaps call the files of a program.
FILES = [("libmediadata-host", "host platform"), ("libmediadata", "library"), ("libsqlite3", "SQLite"), ("libexpat", "Expat"),
         ("libsodium", "libsodium"), ("libstdc++", "C++ library"), ("libc.so", "C library"), ("ld-linux", "loader"),
         ("bench-", "the benchmark itself"), ("[heap]", "heap"), ("[stack]", "stack")]
RUNTIME = ("C library", "C++ library")
OUTER = ("loader", "the benchmark itself")  # have been calling all along

Calls = namedtuple("Calls", "calls syncs written checkpoints fewest most")


def file_title(path):
    return next((title for name, title in FILES if os.path.basename(path).startswith(name)), "others")


def repetitions(operation):
    """How often an operation is called between the marks of strace and callgrind."""
    return 256 if re.match(r"(read|write|change|durable)", operation) else 32


def spread(values):
    return (max(values) - min(values)) / 2 / statistics.median(values)


class Bench:
    def __init__(self, build, scratch):
        self.build, self.scratch = build, scratch
        self.figures = defaultdict(list)  # (system, operation): one figure a round

    def command(self, system, directory, *arguments, under=()):
        """With `under` the program is started by another one, which looks at it."""
        name, variant = PROGRAMS[system]
        words = [*under, f"{self.build}/bench-{name}", variant, directory, *arguments]
        return ["dbus-run-session", "--", *words] if variant == "dconf" else words

    def run(self, command, directory):
        runtime = os.path.join(directory, "runtime")
        os.makedirs(runtime, mode=0o700, exist_ok=True)
        environment = dict(os.environ, XDG_CONFIG_HOME=directory, XDG_RUNTIME_DIR=runtime, LC_ALL="C")
        done = subprocess.run(command, env=environment, capture_output=True, text=True, timeout=300)
        if done.returncode != 0:
            sys.exit(f"{' '.join(command)} failed ({done.returncode}):\n{done.stdout}{done.stderr}")
        return done

    def directory(self):
        return tempfile.TemporaryDirectory(dir=self.scratch)

    def fill(self, system, directory):
        self.run(self.command(LIBRARY if system == BARE else system, directory, "fill"), directory)

    # Times and memory

    def take(self, system, text):
        for line in text.splitlines():
            operation, _, value = line.partition("\t")
            if value:
                self.figures[system, operation].append(float(value))

    def take_memory(self, system, text):
        anonymous, place, end = Counter(), "", ""
        for line in text.splitlines():
            if mapping := re.match(r"([0-9a-f]+)-([0-9a-f]+) \S+ \S+ \S+ \S+ *(.*)", line):
                if mapping.group(3):
                    place = file_title(mapping.group(3))
                elif mapping.group(1) != end:  # or else the rest of a file's data
                    place = "blocks without a name"
                end = mapping.group(2)
            elif amount := re.match(r"Anonymous:\s*(\d+)", line):
                anonymous[place] += int(amount.group(1))
        for place, amount in anonymous.items():
            self.figures[system, f"anonymous memory, {place}"].append(amount)
        self.figures[system, "anonymous memory"].append(sum(anonymous.values()))
        self.figures[system, "peak memory"].append(int(re.search(r"VmHWM:\s*(\d+)", text).group(1)))

    def measure_round(self):
        """Every system once, each in a fresh directory."""
        machine = f"{self.build}/bench-machine"
        with self.directory() as directory:
            self.take("machine", self.run([machine, "limits", directory], directory).stdout)
            self.take_memory(EMPTY, self.run([machine, "memory"], directory).stdout)
        for system in SYSTEMS:
            with self.directory() as directory:
                self.fill(system, directory)
                self.take_memory(system, self.run(self.command(system, directory, "memory"), directory).stdout)
                self.take(system, self.run(self.command(system, directory, "all"), directory).stdout)
                for started in [system, BARE] if system == LIBRARY else [system]:
                    launch = self.command(started, directory, "start", under=[machine, "launch"])
                    self.take(started, self.run(launch, directory).stdout)

    def median(self, system, operation):
        values = self.figures.get((system, operation))
        return statistics.median(values) if values else None

    def ratios(self, own, other):
        """Of two pairs of system and operation, round by round, since the disk's speed changes from round to round."""
        return [mine / its for mine, its in zip(self.figures[own], self.figures[other], strict=True)]

    # Counted

    @functools.cache
    def calls(self, system, operation):
        """System calls, synchronisations and bytes written, per operation; the checkpoints that carried a log into its file;
        of the operations beside them the fewest and the most synchronisations."""
        count = repetitions(operation)
        with self.directory() as directory:
            self.fill(system, directory)
            trace = os.path.join(directory, "trace")
            # Outside of a session, so that the processes that serve the system are seen, too.
            command = self.command(system, directory, "trace", operation, str(count))
            self.run(["strace", "-f", "-o", trace, *command], directory)
            lines = open(trace, errors="replace").read().splitlines()
        sections = []  # whether it is an operation, and its lines
        for line in lines:
            if match := re.search(r'write\(-1, "(call|aside)"', line):
                sections.append((match.group(1) == "call", []))
            elif sections:
                sections[-1][1].append(line)
        operations = [lines for is_call, lines in sections if is_call]
        calls = sum(1 for line in sum(operations, []) if re.search(r"\w\(", line))
        synced = [[match.group(3) for line in lines if (match := re.search(r"\b(f(data)?sync|msync)\((\w+)", line))]
                  for _, lines in sections]
        # A log is synchronised by every change; whatever else is, is what it is carried into at a checkpoint. The change after
        # a checkpoint begins the log anew, whose head is synchronised by itself.
        log = statistics.mode(files) if (files := sum(synced, [])) else None
        carried, syncs, ordinary, begins_anew = 0, 0, [], False
        for (is_call, _), files in zip(sections, synced):
            is_checkpoint = not set(files) <= {log}
            if is_call:
                carried += is_checkpoint
                syncs += len(files)
                if not is_checkpoint and not begins_anew:
                    ordinary.append(len(files))
            begins_anew = is_checkpoint or (begins_anew and not files)
        wrote = sum(int(match.group(1)) for line in sum(operations, [])
                    if (match := re.search(r"write(?:64|v)?(?:\(| resumed>).*= (\d+)$", line)))
        return Calls(calls / count, syncs / count, wrote / count, carried, min(ordinary, default=0), max(ordinary, default=0))

    @functools.cache
    def instructions(self, system, operation):
        """Instructions per operation, by the file that they are in; those of the C and C++ libraries also by the file that
        called these ("... for it"). The operations "start" and "run" are the program until its first value and until its
        end."""
        job = [operation] if operation in ("start", "run") else ["count", operation, str(repetitions(operation))]
        with self.directory() as directory:
            self.fill(system, directory)
            out = os.path.join(directory, "callgrind")
            under = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}"]
            under += ["--collect-atstart=no"] if job[0] == "count" else []
            self.run(self.command(system, directory, *job, under=under), directory)
            text = open(out).read()
        counted = self.by_file(text)
        return Counter({name: value / int((job + ["1", "1"])[2]) for name, value in counted.items()})

    @functools.cache
    def held(self, system):
        """Bytes of the heap that are in use when the first value is there, by the file that asked for them."""
        with self.directory() as directory:
            self.fill(system, directory)
            out = os.path.join(directory, "dhat")
            under = ["valgrind", "--tool=dhat", "--num-callers=40", f"--dhat-out-file={out}"]
            self.run(self.command(system, directory, "hold", under=under), directory)
            profile = json.load(open(out))
        counted = Counter()
        for place in profile["pps"]:
            files = (file_title(match.group(1)) for index in place["fs"]
                     if (match := re.search(r"\(in (.*)\)$", profile["ftbl"][index])))
            counted[next((title for title in files if title not in (*RUNTIME, "others")), "others")] += place["eb"]
        return counted

    @staticmethod
    def by_file(text):
        """Sums up callgrind's format: files are set by ob= and, for the callee, cob= ("(number) name", the name once); a line of
        costs belongs to the file, but behind calls= it is what the callee and all below it cost."""
        names, counted, own, callee, is_call = {}, Counter(), None, None, False
        for line in text.splitlines():
            if match := re.match(r"(c?)ob=\((\d+)\)(?: (.*))?", line):
                if match.group(3):
                    names[match.group(2)] = file_title(match.group(3))
                if match.group(1):
                    callee = names[match.group(2)]
                else:
                    own = names[match.group(2)]
            elif line.startswith("calls="):
                is_call = True
            elif match := re.match(r"[+\-*\d]\S* (\d+)$", line):
                if not is_call:
                    counted[own] += int(match.group(1))
                elif callee in RUNTIME and own not in (*RUNTIME, *OUTER):
                    counted[own + ", for it"] += int(match.group(1))
                callee, is_call = (None, False) if is_call else (callee, False)
        return counted

    def total(self, system, operation):
        return sum(value for name, value in self.instructions(system, operation).items() if not name.endswith(", for it"))
