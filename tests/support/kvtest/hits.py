"""The parts of a hit: describes one for people, and builds those that a run must send."""

import re
import urllib.parse

PARAMETER_NAMES = {
    "v": "protocol version",
    "z": "cache buster",
    "ul": "user language",
    "de": "document encoding",
    "je": "Java enabled",
    "sd": "colour depth",
    "sr": "screen resolution",
    "vp": "viewport",
    "tid": "property ID",
    "an": "application name",
    "av": "application version",
    "aip": "anonymise address",
    "cid": "client ID",
    "sc": "session control",
    "t": "hit type",
    "ec": "event category",
    "ea": "event action",
    "el": "event label",
    "ev": "event value",
    "ni": "non-interaction",
    "cd": "screen name",
    "exd": "exception",
    "exf": "exception is fatal",
    "qt": "queue time in ms",
}
DIMENSION_NAMES = {
    1: "model name",
    2: "manufacturer",
    3: "connection type",
    4: "driver type",
    5: "driver version",
    6: "count",
    8: "processor architecture",
    9: "battery",
    10: "system version",
    12: "installed",
    13: "selected",
    14: "enabled",
}
CLIENT_ID_FORM = re.compile(r"[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}")


def parameter_name(key):
    """The name of a key, or "?" if it is unknown."""
    if key in PARAMETER_NAMES:
        return PARAMETER_NAMES[key]
    index = re.fullmatch(r"cd([0-9]+)", key)
    return DIMENSION_NAMES.get(int(index[1]), "custom dimension") if index else "?"


def parameters(path):
    """The (key, value) pairs of a request's path, in order and not decoded."""
    query = path.partition("?")[2].partition("#")[0]
    return [tuple(item.partition("=")[::2]) for item in query.split("&") if item]


def value_of(path, key):
    """The first value of that key, or None."""
    return dict(reversed(parameters(path))).get(key)


def describe(request):
    """A readable block of text for a request that arrived."""
    way = "encrypted" if request.is_encrypted else "plain"
    answer = "closed without an answer" if request.answer == "close" else f"answered {request.answer}"
    lines = [f"POST to {request.host}, port {request.port}, {way}, {answer}"]
    for key, value in parameters(request.path):
        lines.append(f"    {key:<4} {parameter_name(key):<20} {urllib.parse.unquote(value)}")
    return "\n".join(lines)


def cache_busters():
    """The values of z, which are the same in every process: its pseudo-random generator is never seeded."""
    state = 1

    def number():
        nonlocal state
        state = (state * 214013 + 2531011) % 2 ** 32
        return state >> 16 & 0x7FFF

    while True:
        high = number() << 32
        yield (high | number()) % 8999999999 + 1000000000


class ExpectedHits:
    """The hits of one run, in order, as in the queue file, with QUEUED instead of the time of tracking."""
    QUEUED = "#TIME"

    def __init__(self, property_id, application_version, client_id, resolution, colour_depth, language):
        self._facts = (f"&ul={language}&de=UTF-8&je=0&sd={colour_depth}&sr={resolution}&vp={resolution}"
                       f"&tid={property_id}&an=LumoLink&av={application_version}&aip=1&cid={client_id}&")
        self._cache_busters = cache_busters()

    @property
    def facts(self):
        """The part that all hits of the run share, from the cache buster to the hit's own parameters."""
        return self._facts

    def _prefix(self):
        return f"/collect?v=1&z={next(self._cache_busters)}{self._facts}"

    def session_start(self):
        return self._prefix() + "sc=start&t=appview&cd=Start"

    def launch(self):
        return self._prefix() + "t=event&ec=ApplicationLifeCycle&ea=Start&el=Launch&cd=Start"

    def link(self, link_id, model_name, connection):
        """No screen has been viewed, hence no screen name; the second ampersand belongs to the dimensions."""
        label = f"el={link_id}&" if link_id else ""
        return self._prefix() + f"t=event&ec=Link&ea=Click&{label}&cd1={model_name}&cd3={connection}" + self.QUEUED

    def screen_view(self, screen_name):
        return self._prefix() + f"t=appview&cd={screen_name}" + self.QUEUED

    def end(self):
        return self._prefix() + "sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Start"

    def link_run(self, link_id, model_name="Unknown", connection="Unknown"):
        return [self.session_start(), self.launch(), self.link(link_id, model_name, connection), self.end()]

    def screen_run(self, screen_name):
        return [self.session_start(), self.launch(), self.screen_view(screen_name), self.end()]

    def empty_run(self):
        return [self.session_start(), self.launch(), self.end()]


def stored(hit):
    """A hit of the queue file with its time masked as in ExpectedHits."""
    return re.sub(r"#[0-9]+$", ExpectedHits.QUEUED, hit)


def sent(hit):
    """A hit that was sent with its queue time masked as in ExpectedHits."""
    return re.sub(r"&qt=(0|[1-9][0-9]{0,5}|[0-9.]+e\+[0-9]+)$", ExpectedHits.QUEUED, hit)


def queue_seconds(hit):
    """The queue time of a hit that was sent, or None if it has none."""
    milliseconds = value_of(hit, "qt")
    return None if milliseconds is None else float(milliseconds) / 1000


def tracked_at(hit):
    """When a hit of the queue file was tracked, in seconds since 1970, or None if it has no mark."""
    mark = re.search(r"#([0-9]+)$", hit)
    return None if mark is None else int(mark[1])
