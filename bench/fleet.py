#!/usr/bin/env python3
# How long `fleet import` takes for a thousand telephones, and what it and its children occupy meanwhile.
# Usage: bench/fleet.py BUILD-DIRECTORY [TELEPHONES] prints the table of docs/performance.md; bench/run takes it from here.
import os, resource, subprocess, sys, tempfile, time

SECONDS, MEGABYTES = 60, 100  # the goals
CHANGES = ["ringer-volume=5", "ringer-melody=2", "codec[1]/type=0", "codec[2]/type=3", "alert-identifier-14=Mine",
           "ringer-melody-14=7", "door-opener-type-1=2", "door-opener-address-1=gate"]


def occupied(process):
    """Kilobytes in memory, of the process and its children; pages that they share count once for each."""
    kilobytes = 0
    try:
        with open(f"/proc/{process}/task/{process}/children") as children:
            processes = [process, *children.read().split()]
    except OSError:
        return 0
    for each in processes:
        try:
            with open(f"/proc/{each}/status") as status:
                kilobytes += sum(int(line.split()[1]) for line in status if line.startswith("VmRSS:"))
        except OSError:
            pass  # it has ended
    return kilobytes


def run(command):
    """Seconds, processor seconds, megabytes at the peak."""
    before, begin = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    with subprocess.Popen(command, stdout=subprocess.DEVNULL) as process:
        most = 0
        while process.poll() is None:
            most = max(most, occupied(process.pid))
            time.sleep(0.02)
    if process.returncode != 0:
        sys.exit(f"{' '.join(command)} failed ({process.returncode})")
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return (time.monotonic() - begin, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, most / 1024)


def rows(build, scratch, telephones=1000):
    """One for each of three runs: what it did, and its figures beside the goals."""
    tool = os.path.join(build, "mediadata")
    with tempfile.TemporaryDirectory(dir=scratch) as directory:
        names, model = os.path.join(directory, "names"), os.path.join(directory, "model")
        with open(names, "w") as file:
            file.writelines(f"{directory}/{number}\n" for number in range(telephones))

        def command(name, *changes):
            """Takes over a template of that name: the model with these changes."""
            template = os.path.join(directory, name)
            with open(template, "wb") as file:
                subprocess.run([tool, "--data-dir", model, *changes], check=True, capture_output=True)
                subprocess.run([tool, "--data-dir", model, "export"], check=True, stdout=file)
            return [tool, "fleet", "import", "--from-file", names, "--template", template]

        defaults, changed = command("defaults", "init"), command("changed", "set", *CHANGES)
        made = run(changed)
        run(defaults)
        runs = [("directories without a telephone", made), ("telephones with the defaults", run(changed)),
                ("telephones that have it already", run(changed))]
    return [[f"{telephones} {what}", f"{seconds:.1f} s", f"{processor:.1f} s", f"{megabytes:.0f} MB",
             "reached" if seconds <= SECONDS and megabytes <= MEGABYTES else "**not reached**"]
            for what, (seconds, processor, megabytes) in runs]


HEAD = ["import of one template", "time", "of processors", "memory at the peak",
        f"goal: at most {SECONDS} s and {MEGABYTES} MB"]

if __name__ == "__main__":
    sys.dont_write_bytecode = True
    for row in [HEAD, ["---"] * len(HEAD), *rows(sys.argv[1], None, *map(int, sys.argv[2:3]))]:
        print("| " + " | ".join(row) + " |")
