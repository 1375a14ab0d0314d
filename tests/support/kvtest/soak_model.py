"""Compares what arrived and what was logged with the accounts of the processes.

An account (soak/Recorder.h) has one record a line, its fields separated by tabs:

    process NAME ID            first
    session PROPERTY           the client is about to be initialised
    track KEY STATE SIZE LIMIT TIME
                               a hit was tracked at that calendar time. SIZE: the most hits that were in the queue before it.
                               STATE: t it is in the queue or was sent, d it was dropped, u unknown, e tracked before
                               the file was known to be loaded: only this model can decide
    exchange KEY ACCEPTED      the client tried to send a hit; 1: it was accepted, as far as the client knows
    load COUNTER KEY...        the client emptied the queue file, which contained these
    save COUNTER KEY...        the client appended these to the queue file
    discard COUNTER            the driver removed the queue file
    sample STRETCH MS HANDLES THREADS BYTES EXCHANGES HITS
    calls FUNCTION TIMES       the number of calls of a traced function
    refused OPERATION          an operation failed that must succeed

The rules: the queue accepts a hit while it has fewer than its limit; it sends the oldest first and drops a hit only after
the server has accepted it; hits that remain at the end of a session are saved to the file; a load appends the whole file to
the queue, and hits beyond the limit are lost.
"""

import collections
import itertools
import re
import statistics

INITIAL_LIMIT = 500  # of the queue while the file is loaded
SLOWEST_CALL_SECONDS = 5  # from the reading of the clock to the mark in the hit
SLOWEST_PROBE_SECONDS = 15  # the same, with a battery query in between

ACCEPTED, REFUSED, LOST = "accepted", "refused", "lost"

Finding = collections.namedtuple("Finding", "kind text")
Track = collections.namedtuple("Track", "key state size limit time")
Exchange = collections.namedtuple("Exchange", "key accepted")
FileEvent = collections.namedtuple("FileEvent", "counter kind keys")
Sample = collections.namedtuple("Sample", "stretch ms handles threads bytes exchanges hits")


class Session:
    def __init__(self):
        self.tracks = []
        self.exchanges = []
        self.loads = []
        self.saves = []
        self.tracked_before_load = 0  # records before that of the load

    @property
    def taken(self):
        """The keys of the hits that the queue must have taken."""
        loaded = sum(map(len, self.loads))
        return {track.key for number, track in enumerate(self.tracks)
                if track.state == "t" or track.state == "e" and number + loaded < INITIAL_LIMIT}


class Account:
    def __init__(self, text):
        self.name = None
        self.process_id = None
        self.sessions = []
        self.file_events = []
        self.samples = []
        self.calls = {}
        self.refused = []
        for line in text.splitlines():
            word, *fields = line.split("\t")
            getattr(self, "_read_" + word)(*fields)

    @property
    def tracks(self):
        return [track for session in self.sessions for track in session.tracks]

    @property
    def exchanges(self):
        return [exchange for session in self.sessions for exchange in session.exchanges]

    def _read_process(self, name, process_id):
        self.name, self.process_id = name, int(process_id)

    def _read_session(self, _property):
        self.sessions.append(Session())

    def _read_track(self, key, state, size, limit, time):
        self.sessions[-1].tracks.append(Track(key, state, int(size), int(limit), int(time)))

    def _read_exchange(self, key, accepted):
        self.sessions[-1].exchanges.append(Exchange(key, accepted == "1"))

    def _read_load(self, counter, *keys):
        self.file_events.append(FileEvent(int(counter), "load", list(keys)))
        self.sessions[-1].loads.append(list(keys))
        self.sessions[-1].tracked_before_load = len(self.sessions[-1].tracks)

    def _read_save(self, counter, *keys):
        self.file_events.append(FileEvent(int(counter), "save", list(keys)))
        self.sessions[-1].saves.append(list(keys))

    def _read_discard(self, counter):
        self.file_events.append(FileEvent(int(counter), "discard", []))

    def _read_sample(self, stretch, *numbers):
        self.samples.append(Sample(stretch, *map(int, numbers)))

    def _read_calls(self, function, times):
        self.calls[function] = int(times)

    def _read_refused(self, operation):
        self.refused.append(operation)


def check_session(session):
    """Findings, and the keys that the queue had no room for when the file was loaded.

    What was sent and then what was saved must be the hits of the queue, in its order.
    """
    findings = [Finding("lost", f"{track.key} was dropped, though the queue held {track.size} of {track.limit}")
                for track in session.tracks if track.state in "du" and track.size < track.limit]
    if len(session.loads) > 1 or len(session.saves) > 1:
        return findings + [Finding("queue file", "a session loaded or saved twice")], []
    loaded = session.loads[0] if session.loads else []
    left = session.saves[0] if session.saves else []
    handled = [exchange.key for exchange in session.exchanges if exchange.accepted] + left
    queued = session.taken | {track.key for track in session.tracks if track.state in "eu"} & set(handled)
    # A load between a call and its record comes before or after that call's hits, of which there are two at most.
    orders = [_order_of(session, loaded, queued, session.tracked_before_load + late) for late in (0, 1, 2)]
    expected, cut = next((order for order in orders if order[0] == handled), orders[0])
    findings += _compare(expected, handled)
    sent = 0
    for exchange in session.exchanges:
        if not exchange.accepted and (sent >= len(handled) or handled[sent] != exchange.key):
            findings.append(Finding("order", f"{exchange.key} was tried before its turn, or given up"))
        sent += exchange.accepted
    return findings, cut


def _order_of(session, loaded, queued, position):
    """The queue from its first hit to its last, when the load came after so many tracked hits; and what was cut off."""
    before, after = ([track.key for track in tracks if track.key in queued]
                     for tracks in (session.tracks[:position], session.tracks[position:]))
    room = max(0, INITIAL_LIMIT - len(before))
    return before + loaded[:room] + after, loaded[room:]


def _compare(expected, handled):
    missing = collections.Counter(expected) - collections.Counter(handled)
    surplus = collections.Counter(handled) - collections.Counter(expected)
    findings = [Finding("lost", f"{key} was neither sent nor saved") for key in missing]
    findings += [Finding("duplicate" if key in expected else "invented", f"{key} was sent or saved, {times} times too often")
                 for key, times in surplus.items()]
    if not findings and expected != handled:
        key = next(key for key, other in zip(expected, handled) if key != other)
        findings.append(Finding("order", f"{key} was not sent or saved in its turn"))
    return findings


def check_file(accounts, final_keys):
    """Findings, and the keys that went with a file that the driver removed.

    Each load must find what was saved before it, and at the end the file must hold the rest.
    """
    content, findings, discarded = [], [], []
    for event in sorted(event for account in accounts for event in account.file_events):
        if event.kind == "save":
            content = content + event.keys
            continue
        if event.kind == "load":
            findings += _compare(content, event.keys)
        else:
            discarded += content
        content = []
    return findings + _compare(content, final_keys), discarded


def _label_kind(key):
    return key.rpartition("-")[2]


_TEXT = "[A-Za-z0-9%-]+"
_SCREEN = f"(?:cd={_TEXT})?"
_TAILS = {
    "begin": "sc=start&t=appview&cd=Start",
    "launch": "t=event&ec=ApplicationLifeCycle&ea=Start&el=Launch&cd=Start",
    "stop": "sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Start",
    "link": f"t=event&ec=Link&ea=Click&el=LABEL&{_SCREEN}&cd1=Norvik3000&cd3={_TEXT}",
    "screen": "t=appview&cd=LABEL",
    "event": f"t=event&ec=Soak&ea=Act&el=LABEL&(?:ev=[0-9]&)?(?:ni=1&)?{_SCREEN}",
    "onscreen": "t=event&ec=Soak&ea=Act&el=LABEL&cd=Screen",
    "exception": "t=exception&exd=LABEL(?:&exf=0)?",
    "selected": f"t=event&ec=Printers&ea=Enumerate&el=Selected&{_SCREEN}&cd1=Norvik3000&cd3={_TEXT}&cd12={_TEXT}",
    "install": f"t=event&ec=Install&ea=Examine&el=Result&{_SCREEN}&cd1=Norvik3000&cd10={_TEXT}&cd12={_TEXT}",
    "swift": f"t=event&ec=Feature&ea=Examine&el=Swiftpost&{_SCREEN}&cd1=Norvik3000&cd10={_TEXT}&cd12={_TEXT}&cd13={_TEXT}",
    "sharing": f"t=event&ec=Feature&ea=Examine&el=DeviceSharing&{_SCREEN}&cd10={_TEXT}&cd13={_TEXT}",
    "hardware": f"t=event&ec=Client&ea=Inspect&el=Hardware&{_SCREEN}&cd8={_TEXT}&cd9={_TEXT}&cd10={_TEXT}",
}
_COMMON = re.compile("/collect\\?v=1&z=[0-9]{10}(?:&ul=[A-Za-z-]+)?&de=UTF-8&je=0&sd=[0-9]+-bits?&sr=([0-9]+x[0-9]+)&vp=\\1"
                     "&tid=(SOAK-[a-z0-9]+-[0-9]+)&an=[A-Za-z]+&av=1\\.0\\.0\\.0&aip=1&cid=[0-9a-f]{8}(?:-[0-9a-f]{4}){3}"
                     "-[0-9a-f]{12}&(.*)")
_LABELLED = re.compile("(.*)&cd90=([a-z0-9]+-[0-9]+-[0-9]+-([a-z]+))(?:&qt=([0-9][0-9.e+]*)|#([0-9]{10}))")


def read_hit(text):
    """Key and queue time in milliseconds (None: it has none) of a hit, sent or in the queue file; None when it is not
    whole, letter by letter."""
    common = _COMMON.fullmatch(text)
    if common is None:
        return None
    labelled = _LABELLED.fullmatch(common[3])
    if labelled is None:
        name = next((name for name in ("begin", "launch", "stop") if _TAILS[name] == common[3]), None)
        return None if name is None else (f"{common[2]}:{name}", None)
    tail, label, kind, queue_time, _ = labelled.groups()
    if kind not in _TAILS or not re.fullmatch(_TAILS[kind].replace("LABEL", label), tail):
        return None
    return label, None if queue_time is None else float(queue_time)


def read_queue_file(content):
    """The keys of a queue file and findings."""
    if content and not content.endswith(b"\n"):
        return [], [Finding("queue file", "the last line has no end")]
    lines = content.decode("latin-1").split("\n")[:-1]
    hits = [read_hit(line) for line in lines]
    findings = [Finding("queue file", f"not a hit: {line}") for line, hit in zip(lines, hits) if hit is None]
    return [hit[0] for hit in hits if hit is not None], findings


def _from_proxy(target):
    """Path and query of what a proxy is asked for."""
    return "/" + target.removeprefix("http://").partition("/")[2]


def check_arrivals(arrivals, accounts, excused):
    """Findings about what the server has seen. excused: keys that the rules let the client lose, or that still wait.

    arrivals: objects with time, target and outcome, in the order of arrival.
    """
    findings = []
    tracks = {track.key: track for account in accounts for track in account.tracks}
    expected = set().union(*(session.taken for account in accounts for session in account.sessions)) - set(excused)
    by_key = collections.defaultdict(list)
    for arrival in arrivals:
        hit = read_hit(_from_proxy(arrival.target))
        if hit is None or hit[0] not in tracks or tracks[hit[0]].state == "d":
            findings.append(Finding("invented", f"arrived: {arrival.target}"))
            continue
        by_key[hit[0]].append(arrival)
        findings += _check_queue_time(tracks[hit[0]], hit[1], arrival)
    exchanges = collections.defaultdict(list)
    for account in accounts:
        for exchange in account.exchanges:
            exchanges[exchange.key].append(exchange.accepted)
    for key in tracks:
        findings += _check_key(key, [arrival.outcome for arrival in by_key[key]], exchanges[key], key in expected)
    return findings


def _check_key(key, outcomes, exchanges, must_arrive):
    accepted = outcomes.count(ACCEPTED)
    if exchanges.count(True) > accepted or must_arrive and accepted == 0:
        return [Finding("lost", f"{key} was not accepted by the server: {outcomes}, {exchanges}")]
    if accepted > 1 or accepted == 1 and outcomes[-1] != ACCEPTED or len(outcomes) > len(exchanges):
        return [Finding("duplicate", f"{key} was sent again after it had been accepted: {outcomes}, {exchanges}")]
    if accepted > exchanges.count(True):
        return [Finding("duplicate", f"{key} was accepted, and the client does not know: {outcomes}, {exchanges}")]
    return []


def _check_queue_time(track, milliseconds, arrival):
    if (milliseconds is None) != (":" in track.key):
        return [Finding("queue time", f"{track.key}: {milliseconds}")]
    if milliseconds is None:
        return []
    waited = int(arrival.time) - track.time
    slack = SLOWEST_PROBE_SECONDS if _label_kind(track.key) == "hardware" else SLOWEST_CALL_SECONDS
    rounding = 1 + waited / 100000  # six digits
    if waited - slack - rounding <= milliseconds / 1000 <= waited + rounding and milliseconds >= 0:
        return []
    return [Finding("queue time", f"{track.key} waited {waited} s and says {milliseconds} ms")]


def check_order_of_arrivals(arrivals, account):
    """Findings: the hits of a process that has a server to itself arrive as it sends them, those not read left out."""
    keys = [hit[0] for hit in (read_hit(_from_proxy(arrival.target)) for arrival in arrivals) if hit is not None]
    sent = iter([exchange.key for exchange in account.exchanges])
    for key in keys:
        if key not in sent:  # which reads on
            return [Finding("order", f"{key} arrived before its turn")]
    return []


def repeated(arrivals):
    """How many hits arrived again because the client did not receive the first answer."""
    keys = collections.Counter(arrival.target.rpartition("&qt=")[0] or arrival.target for arrival in arrivals
                               if arrival.outcome != REFUSED)
    return sum(times > 1 for times in keys.values())


_LOG_LINE = re.compile("\\[([0-9]+)\\] (?:\\((->|<-)\\) ([A-Za-z:]+)|\\(I0\\) soak ([a-z0-9-]+) end)")
_QUEUE_MARKS = ("--- Queued Lines Start ---", "--- Queued Lines End ---")


def check_log(text, accounts):
    """Findings about the text of a log file, and how often lines were queued because it was locked.

    Each line is there once and whole: a line for each hit, in the order of tracking, one for each entry and each exit.
    """
    findings = []
    lines = text.split("\r\n")
    if lines.pop() != "":
        findings.append(Finding("log", "the last line has no end"))
    labels = collections.defaultdict(list)
    calls = collections.Counter()
    marks = []
    for line in lines:
        if line in _QUEUE_MARKS:
            marks.append(line)
            continue
        match = _LOG_LINE.fullmatch(line)
        if match is None:
            findings.append(Finding("log", f"torn, mixed or unexpected: {line}"))
        elif match[4] is not None:
            labels[int(match[1])].append(match[4])
        else:
            calls[int(match[1]), match[2], match[3]] += 1
    if marks != [mark for _, mark in zip(marks, itertools.cycle(_QUEUE_MARKS))] or len(marks) % 2 != 0:
        findings.append(Finding("log", "queued lines of one process stand among those of another"))
    expected_calls = collections.Counter()
    for account in accounts:
        expected = [track.key for track in account.tracks if ":" not in track.key]
        findings += [Finding("log", f"{account.name}: {found.kind}: {found.text}")
                     for found in _compare(expected, labels.pop(account.process_id, []))]
        for function, times in account.calls.items():
            for sign in ("->", "<-"):
                expected_calls[account.process_id, sign, function] = times
    findings += [Finding("log", f"of an unknown process: {process}") for process in labels]
    findings += [Finding("log", f"{call}: {calls[call]} lines, not {expected_calls[call]}")
                 for call in sorted(calls | expected_calls) if calls[call] != expected_calls[call]]
    return findings, len(marks) // 2


Growth = collections.namedtuple("Growth", "early late each")


def growth(samples, gauge, unit):
    """How a gauge grows after the first fifth of the samples: its median in the second fifth and in the last one, and the
    growth for each `unit` ("exchanges", "hits") between the middles of the two."""
    fifth = max(1, len(samples) // 5)
    early, late = samples[fifth:2 * fifth], samples[-fifth:]
    if not early or len(samples) < 10:
        raise ValueError(f"{len(samples)} samples are too few to tell a growth")
    def median(part, name):
        return statistics.median(getattr(sample, name) for sample in part)
    before, after = median(early, gauge), median(late, gauge)
    units = median(late, unit) - median(early, unit)
    return Growth(before, after, (after - before) / max(1, units))
