"""What a run with faults may do, and what it must not.

A run starts with older hits in the queue file, each with a label of its own. Whatever fails, each older hit must be accepted
by the server or be in the queue file afterwards, once; each line of the file must be whole; nothing that nobody tracked may
appear; the program ends with one of its results or quietly; and who has opted out is never reported.
"""

import collections
import re

CLIENT_ID = "3f2504e0-4f89-11d3-9a0c-0305e82c3301"
PROPERTY = "FAULTS-3"
LINK = "L1"

DONE, NOT_OPTED_IN, INIT_FAILED, START_FAILED, NOT_CALLED = 0x03E8C0FB, 0x03E8C0FF, 0x83E8C0FC, 0x83E8C0FD, 0x83E8C0FE
NO_OBJECT = 0  # the result if there is no memory for the one object of the run
RESULTS = {DONE: "done", NOT_OPTED_IN: "not opted in", INIT_FAILED: "init failed", START_FAILED: "start failed",
           NOT_CALLED: "not called", NO_OBJECT: "0"}
QUIET = 3  # ends at once without a message
KILLED = 0xFA017002
ABORTED = 0xFA017003  # the injector replaces the runtime's abort
HANG = "hang"

# Kinds of findings, except LOST_OWN: a hit that this run tracks needs memory and a file.
CRASH, HANGS, PRINTS, LOST, DOUBLED, TORN, INVENTED, REPORTED, LOST_OWN = (
    "crash", "hang", "printed", "lost", "doubled", "torn", "invented", "reported", "own hits lost")
# If one of these fails, or the look-up of the second, the server has the hit and the client cannot know it: it sends it again.
ANSWER_FUNCTIONS = {"HttpSendRequestW", "HttpQueryInfoW"}

# Bytes. Linux cuts the write of a killed process between two pages of the file; Windows completes it.
PAGE = 4096

Finding = collections.namedtuple("Finding", "kind text")


class Outcome:
    """How many older hits a run began with, and what it has left: its end (exit code or HANG), what it printed, the journal,
    paths that arrived, the number of connections, and the bytes of the queue file (None if it does not exist)."""

    def __init__(self, older, end, printed, journal, arrivals, connections, file):
        self.older = older
        self.end = end
        self.printed = printed
        self.journal = journal
        self.arrivals = arrivals
        self.connections = connections
        self.file = file


class Journal:
    """What the injector has noted, see Injection.h."""

    def __init__(self, text):
        self.counts = collections.Counter()  # (kind, thread): events
        self.failed = []  # (kind, thread, ordinal, name)
        self.has_unread_answer = False
        self.turns = []  # microseconds
        self.unlisted = set()
        lines = [line for line in text.replace("\0", "").split("\n") if line]
        previous = ""
        calls = {}  # the last one of each thread
        for line in lines:
            event = re.fullmatch("([0-9]+) ([nmc]) ([^ ]+)( failed)?", line)
            if event is not None:
                key = (event[2], int(event[1]))
                if event[4]:
                    self.failed.append((*key, self.counts[key], event[3]))
                    self.has_unread_answer |= event[3] in ANSWER_FUNCTIONS or (
                        event[3] == "GetProcAddress" and calls.get(key) == "HttpSendRequestW")
                calls[key] = event[3]
                self.counts[key] += 1
            elif line.startswith("turn "):
                self.turns.append(int(line.split()[1]))
            elif previous == "unlisted 0":
                self.unlisted.add(line.split()[0])
            previous = line


def older_hit(number):
    """A line of the queue file without its end."""
    return (f"/collect?v=1&z={1234567890 + number}&ul=en-US&de=UTF-8&je=0&sd=32-bit&sr=1024x768&vp=1024x768&tid={PROPERTY}"
            f"&an=LumoLink&av=1.0.0.0&aip=1&cid={CLIENT_ID}&t=event&ec=Link&ea=Click&el=older-{number:02}&&cd1=Unknown"
            f"&cd3=USB#1416096000")


def older_file(count):
    return "".join(older_hit(number) + "\n" for number in range(count)).encode("ascii")


# A hit omits a fact whose query failed, or has it as unknown.
_ID = "[0-9a-f]{8}(?:-[0-9a-f]{4}){3}-[0-9a-f]{12}"
_COMMON = re.compile("/collect\\?v=1&z=[0-9]{10}(?:&ul=[A-Za-z-]*)?&de=UTF-8&je=0(?:&sd=[0-9]+-bits?)?"
                     "(?:&sr=[0-9]+x[0-9]+&vp=[0-9]+x[0-9]+)?&tid=[A-Z0-9-]*3&an=LumoLink(?:&av=(?:[0-9.]+|Unknown))?&aip=1"
                     f"(?:&cid={_ID})?&(.*)")
_FACTS = "(?:&?&cd1=[A-Za-z0-9]+)?(?:&?&cd3=[A-Za-z]+)?"
_TAILS = {
    "begin": re.compile("sc=start&t=appview&cd=Start"),
    "launch": re.compile("t=event&ec=ApplicationLifeCycle&ea=Start&el=Launch&cd=Start"),
    "link": re.compile(f"t=event&ec=Link&ea=Click&el={LINK}{_FACTS}MARK"),
    # If there was no memory for a link's hit, its facts remain and the hit of the session's end carries them.
    "stop": re.compile(f"sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Start{_FACTS}"),
}
# A clock that cannot be read reports 1601.
_MARKS = re.compile("(?:#[0-9]{10}|#-11644473600|&qt=[0-9][0-9.e+]*)$")


def key_of(hit):
    """Which hit this is, sent or stored; None for one that was never tracked or is incomplete."""
    unmarked = _MARKS.sub("", hit)
    number = re.search("&el=older-([0-9]{2})&", hit)
    if number is not None:
        return f"older-{number[1]}" if unmarked + "#1416096000" == older_hit(int(number[1])) else None
    common = _COMMON.fullmatch(unmarked + ("MARK" if unmarked != hit else ""))
    if common is None:
        return None
    return next((key for key, tail in _TAILS.items() if tail.fullmatch(common[1])), None)


OWN_KEYS = list(_TAILS)


def older_keys(outcome):
    return [f"older-{number:02}" for number in range(outcome.older)]


def judge(outcome, opted_out=False, is_killed=False):
    """The findings about one run; and how many hits it doubled because an answer was made unreadable, which is none."""
    findings = _judge_end(outcome, is_killed)
    lines, broken = _read_file(outcome.file or b"")
    if is_killed and broken and len(outcome.file) % PAGE == 0 and not outcome.file.endswith(b"\n"):
        broken.pop(0)  # the last line
    findings += [Finding(TORN, f"in the queue file of {len(outcome.file)} bytes: {line!r}") for line in broken]
    if opted_out:
        if outcome.connections or outcome.file != older_file(outcome.older):
            findings.append(Finding(REPORTED, f"{outcome.connections} connections, {len(outcome.arrivals)} hits"))
        return findings, 0
    findings += [Finding(INVENTED, f"arrived: {path}") for path in outcome.arrivals if key_of(path) is None]
    arrived = collections.Counter(filter(None, map(key_of, outcome.arrivals)))
    stored = collections.Counter(lines)
    if not is_killed:
        lost = [key for key in older_keys(outcome) if not arrived[key] and not stored[key]]
        if lost:
            findings.append(Finding(LOST, f"{len(lost)} of {outcome.older}"))
    excused = 0
    for key in sorted(arrived | stored):
        if stored[key] > 1 or arrived[key] + stored[key] > 1 and not is_killed:
            # The hit whose answer was lost is sent again or is in the file, which has it at most once.
            if outcome.journal.has_unread_answer and stored[key] <= 1:
                excused += 1
            else:
                findings.append(Finding(DOUBLED, f"{key} arrived {arrived[key]} times, is in the file {stored[key]} times"))
    return findings, excused


def _judge_end(outcome, is_killed):
    findings = []
    if outcome.end == HANG:
        findings.append(Finding(HANGS, "had to be ended"))
    elif outcome.end == ABORTED:
        findings.append(Finding(CRASH, "the runtime's abort"))
    elif outcome.end not in RESULTS and outcome.end != QUIET and not (is_killed and outcome.end == KILLED):
        findings.append(Finding(CRASH, f"ended with 0x{outcome.end:08X}"))
    if outcome.printed:
        findings.append(Finding(PRINTS, repr(outcome.printed[:200])))
    return findings


def _read_file(content):
    """Keys of the lines of a queue file, and the lines that are none."""
    lines = content.decode("latin-1").split("\n")
    broken = [lines[-1]] if lines[-1] else []
    keys = [(key_of(line), line) for line in lines[:-1]]
    return [key for key, _ in keys if key is not None], broken + [line for key, line in keys if key is None]


def lost_hits(outcome):
    """How many of the older hits, and of the run's own, are nowhere."""
    lines, _ = _read_file(outcome.file or b"")
    there = {*lines, *map(key_of, outcome.arrivals)}
    return sum(key not in there for key in older_keys(outcome)), sum(key not in there for key in OWN_KEYS)
