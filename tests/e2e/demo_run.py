"""demo_run.py BUILD_TREE FOLDER: runs the program as an installed product would, and shows what it does.

Checks everything that it shows, and ends with 1 if something is wrong. FOLDER receives the product and the Wine prefix.
Nothing leaves this computer: a collection server on 127.0.0.1 is the user's proxy.
"""

import base64
import html
import json
import pathlib
import re
import shutil
import signal
import sys
import textwrap
import time

from kvtest import hits
from kvtest.collection_server import CollectionServer
from kvtest.doctor import ExaminedProduct
from kvtest.product import HOST, Files
from kvtest.wine_prefix import WinePrefix

CONFIGURATION = """\
[Analytics]
PropertyIDPrefix=NV-1000-
UseSSL=false

[DeviceInfo]
ModelName=Norvik-3000
"""
LOG_FILE = "C:\\trace.log"
EVERYTHING = 0x66000FF0
# Every prefix except the milliseconds since the line before, indentation, durations.
OPTIONS = 0x2F600000
# What is left out where the log is printed.
PREFIX = re.compile(r"^\S+ \S+ [0-9]{10} \[[0-9]+\] \{tid: 0x[0-9A-F]+\} (?:[0-9]{4,}: | {6})")
DURATION = re.compile(r" \(Dur: [0-9]+ us\) $")
LINK = "/linkid BuyInk /connection NW /network Network_Wireless"
SCREEN = "/tabid Scan"


class Demo:
    def __init__(self, product, server):
        self.product = product
        self.server = server
        self.failures = []
        self.logs = []
        self._seen = 0

    def check(self, is_so, claim):
        """Shows the claim, marked when it does not hold."""
        print(f"  {'[ok]    ' if is_so else '[WRONG] '} {claim}")
        if not is_so:
            self.failures.append(claim)

    def run(self, arguments, expected_result="PROXY_S_DONE", host=HOST, shortest_ms=0):
        """One run of the program: what was started, how it ended, and the hits that arrived meanwhile."""
        print(f"  {host} starts\n  {self.product.program} {arguments}\n")
        run = self.product.start(arguments, host)
        self.check(run.result == expected_result and run.elapsed_ms >= shortest_ms,
                   f"exit code 0x{run.exit_code:08X}, {run.result}, after {run.elapsed_ms / 1000:.1f} s")
        arrived = self.server.requests[self._seen:]
        self._seen += len(arrived)
        return [request.path for request in arrived]

    def show_hits(self, paths):
        """What all have in common once, then what each has of its own."""
        common = [item for item in hits.parameters(paths[0]) if all(item in hits.parameters(path) for path in paths)]
        print("\n  What every hit carries:")
        self.show_parameters(common)
        for number, path in enumerate(paths, 1):
            print(f"  Hit {number}:")
            self.show_parameters([item for item in hits.parameters(path) if item not in common])
        print()

    @staticmethod
    def show_parameters(parameters):
        for key, value in parameters:
            print(f"    {key:<4} {hits.parameter_name(key):<20} {value}")

    def take_log(self):
        """The lines of the trace log so far, without their prefixes; the file is removed."""
        file = self.product.prefix.path(LOG_FILE)
        content = file.read_bytes()
        file.unlink()
        self.logs.append(content)
        return [DURATION.sub("", PREFIX.sub("", line)) for line in content.decode("utf-16-le").splitlines()]


def chapter(title, text=""):
    print(f"\n{title}\n{'-' * len(title)}")
    if text:
        print(textwrap.fill(text, 110))
    print(flush=True)


def show_link_click(demo):
    chapter("A link is clicked", "The device centre's host starts the program with the link's id and the connection of "
            "the printer in view. A stand-in for the host stands where the program expects it.")
    arrived = demo.run(LINK)
    expected = demo.product.expected_hits("NV-1000-3").link_run("BuyInk", "Norvik-3000", "Network-Wireless")
    demo.check([hits.sent(path) for path in arrived] == expected,
               "session start, launch, the link and session end arrived, and nothing else")
    demo.show_hits(arrived)
    log = demo.take_log()
    print("  The trace log of this run, as the user's registry has switched it on:")
    print(textwrap.indent("\n".join(log), "    "))
    demo.check("(I0)     CAnalyticsProxy::Run - Calling TrackLumoLink for BuyInk" in log, "the log tells of the link")


def show_screen_view(demo):
    chapter("A screen is opened", "The same for a screen of the device centre.")
    client_id = demo.product.client_id()
    arrived = demo.run(SCREEN)
    expected = demo.product.expected_hits("NV-1000-3", client_id).screen_run("Scan")
    demo.check([hits.sent(path) for path in arrived] == expected,
               "session start, launch, the screen and session end arrived, with the client ID of the run before")
    demo.show_hits(arrived)
    log = demo.take_log()
    print("  The notes of progress in its trace log:")
    notes = [line for line in log if line.startswith("(I0)")]
    print(textwrap.indent("\n".join(notes), "    "))
    demo.check("(I0)     CAnalyticsProxy::Run - Calling TrackScreenView for Scan" in notes, "the log tells of the screen")


def show_refusals(demo):
    chapter("Who is not reported")
    demo.product.opt_out()
    arrived = demo.run(LINK, "PROXY_S_NOT_OPTED_IN")
    demo.check(arrived == [], "a user who opted out is not reported")
    demo.product.opt_out_mark().unlink()
    print()
    arrived = demo.run(LINK, "PROXY_E_NOT_CALLED_BY_LUMO", "C:\\Stranger\\mshta.exe")
    demo.check(arrived == [], "who is not the device centre's host cannot make the program report")
    demo.check(len(demo.server.requests) == demo.server.connections, "neither run has connected to the server")


def show_doctor(demo, expected_code, *arguments):
    """What the doctor says now."""
    print(f"  {demo.product.doctor} {' '.join(arguments)}\n")
    code, output = demo.product.prefix.run_for_both(demo.product.doctor, *arguments)
    print(textwrap.indent("\n".join(output.splitlines()), "    "))
    demo.check(code == expected_code, f"the doctor ends with {code}")


def show_queue(demo):
    chapter("Without a connection", "Nobody listens where the hits go. The program tries for twelve seconds, once a "
            "second, and then leaves its hits to the next run.")
    demo.product.send_to(demo.server.port)
    demo.run(LINK, shortest_ms=12000)
    queued = demo.product.queued_hits()
    own = demo.product.expected_hits("NV-1000-3")
    expected = own.link_run("BuyInk", "Norvik-3000", "Network-Wireless")
    demo.check([hits.stored(hit) for hit in queued] == expected, "the four hits are in the queue file:")
    for hit in queued:
        print(f"\n    {hit}")
    chapter("The doctor", "A console program beside the other says what a run would find, and changes nothing. Each run of "
            "this demonstration has ended as it had said.")
    show_doctor(demo, 0)
    demo.product.opt_out()
    code = demo.product.examine().exit_code
    demo.check(code == 11, f"if the user opts out, the doctor ends with {code}")
    demo.product.opt_out_mark().unlink()

    chapter("The connection is back", "The next run delivers what waits along with its own hits.")
    demo.server.listen()
    arrived = demo.run(SCREEN)
    own = demo.product.expected_hits("NV-1000-3")
    both = expected + own.screen_run("Scan")
    demo.check(sorted(map(hits.sent, arrived)) == sorted(both), "eight hits arrived, four of them from the queue file")
    demo.check(demo.product.queued_hits() == [], "the queue file is empty")
    late = [path for path in arrived if hits.sent(path) == expected[2]]
    demo.check(len(late) == 1 and hits.queue_seconds(late[0]) >= 11,
               "the link says how long it has waited: " + " ".join(f"{hits.queue_seconds(path):.0f} s" for path in late))
    print("\n  The link, as it arrived:")
    for path in late:
        demo.show_parameters(hits.parameters(path))


def recorded(demos, started):
    """What the servers received, as viewer/collect records it. started: the time of the clock and of the requests' clock."""
    wall, monotonic = started
    requests = sorted((request for demo in demos for request in demo.server.requests), key=lambda request: request.at)
    return "".join(json.dumps({"at": wall + request.at - monotonic, "host": f"{request.host}:{request.port}",
                               "path": request.path, "answer": request.answer}) + "\n" for request in requests)


def offer_page(tree, folder, files):
    """The page of viewer/ with these files in it."""
    page = tree / "viewer" / "index.html"
    if not page.exists():
        return
    blocks = "".join(f'<script type="application/octet-stream" data-name="{html.escape(name)}">'
                     f"{base64.b64encode(content).decode('ascii')}</script>\n" for name, content in files.items())
    shown = folder / "demo.html"
    shown.write_text(page.read_text(encoding="utf-8").replace("</main>", "</main>\n" + blocks, 1), encoding="utf-8")
    chapter("To look closer", "This page shows the logs and hits of this run in any browser: functions on a timeline, each hit "
            "with the meaning of its parameters. It needs no server and no network.")
    print(f"  {shown.as_uri()}")


def main():
    started = (time.time(), time.monotonic())
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143)) # ends Wine's processes too
    tree, folder = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    shutil.rmtree(folder / "product", ignore_errors=True)
    (folder / "product").mkdir(parents=True)
    print("Preparing Wine ...", flush=True)
    with WinePrefix(folder) as prefix, CollectionServer() as server:
        (prefix.drive_c / "Product").symlink_to(folder / "product")
        product = ExaminedProduct(prefix, Files.from_build_tree(tree))
        product.write_config(CONFIGURATION)
        product.opt_in()
        product.send_to(server.port)
        product.log_to(LOG_FILE, EVERYTHING, OPTIONS)
        chapter("The product", f"{folder / 'product'} is C:\\Product inside Wine. It holds the program, the file by which "
                "a user has opted in, and the configuration. UseSSL is false here only so that the hits can be shown "
                "without a certificate.")
        for path in sorted((folder / "product").rglob("*")):
            if path.is_file():
                print(f"  C:\\Product\\{str(path.relative_to(folder / 'product'))}".replace("/", "\\"))
        print("\n" + textwrap.indent(CONFIGURATION, "    "))
        demo = Demo(product, server)
        show_link_click(demo)
        show_screen_view(demo)
        show_refusals(demo)
        with CollectionServer(is_listening=False) as late_server:
            late = Demo(product, late_server)
            show_queue(late)
    failures = demo.failures + late.failures
    files = {f"run {number}.log": log for number, log in enumerate(demo.logs, 1)}
    offer_page(tree, folder, {**files, "hits.jsonl": recorded([demo, late], started).encode("utf-8")})
    chapter("Result")
    print("Everything is as it must be." if not failures else "Not as it must be: " + "; ".join(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
