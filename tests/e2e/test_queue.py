"""The queue file between two runs: what an earlier run left behind is delivered by the next."""

import concurrent.futures
import time

from kvtest import hits
from kvtest.product import make_file
from kvtest.program_test import ReportingTest

CLIENT_ID = "3f2504e0-4f89-11d3-9a0c-0305e82c3301"


class EarlierHitsTests(ReportingTest):
    def setUp(self):
        super().setUp()
        make_file(self.product.profile_file, f"[Users]\r\nUUID={CLIENT_ID}\r\n".encode("ascii"))
        self.server = self.serve()

    def deliver(self, lines):
        """What one run of three hits sends besides its own, when an earlier one left these lines behind."""
        make_file(self.product.queue_file, "".join(line + "\n" for line in lines).encode("ascii"))
        self.assertEnds(self.product.start(), "PROXY_S_DONE")
        self.assertEqual(self.product.queued_hits(), [])
        own = self.product.expected_hits().empty_run()
        paths = [request.path for request in self.server.requests]
        # Whether the run's own hits come before the loaded ones or between them is not fixed: tracking and loading meet.
        self.assertEqual([path for path in paths if path in own], own)
        return [path for path in paths if path not in own]

    def test_arrive_in_their_order(self):
        lines = [f"/collect?v=1&t=appview&cd=Before{number}" for number in range(20)]
        self.assertEqual(self.deliver(lines), lines)

    def test_carry_the_time_for_which_they_waited(self):
        tracked = int(time.time()) - 100
        path, = self.deliver([f"/collect?v=1&t=appview&cd=Before#{tracked}"])
        self.assertEqual(hits.sent(path), "/collect?v=1&t=appview&cd=Before#TIME")
        self.assertGreaterEqual(hits.queue_seconds(path), 100)
        self.assertLessEqual(hits.queue_seconds(path), time.time() - tracked)

    def test_long_wait_is_written_with_six_digits(self):
        # So long that the time until it is sent does not reach the sixth digit.
        self.assertEqual(self.deliver([f"/collect?v=1&t=appview&cd=Before#{int(time.time()) - 1234560000}"]),
                         ["/collect?v=1&t=appview&cd=Before&qt=1.23456e+12"])

    def test_time_in_the_future_counts_as_no_wait(self):
        self.assertEqual(self.deliver([f"/collect?v=1&t=appview&cd=Before#{int(time.time()) + 1000}"]),
                         ["/collect?v=1&t=appview&cd=Before&qt=0"])

    def test_mark_without_a_time_is_left_alone(self):
        """Wine drops it from the address, as a browser would."""
        path, = self.deliver(["/collect?v=1&t=appview&cd=Before#"])
        self.assertEqual(path.rstrip("#"), "/collect?v=1&t=appview&cd=Before")

    def test_empty_lines_are_skipped(self):
        self.assertEqual(self.deliver(["", "/collect?v=1&t=appview&cd=A", "", "/collect?v=1&t=appview&cd=B", ""]),
                         ["/collect?v=1&t=appview&cd=A", "/collect?v=1&t=appview&cd=B"])

    def test_lines_of_zeros_are_skipped(self):
        """What a loss of power leaves in place of what was written last."""
        self.assertEqual(self.deliver(["/collect?v=1&t=appview&cd=A", "\0" * 100, "\0/collect?v=1&t=appview&cd=B"]),
                         ["/collect?v=1&t=appview&cd=A"])

    def test_last_line_without_an_end(self):
        make_file(self.product.queue_file, b"/collect?v=1&t=appview&cd=A\n/collect?v=1&t=appview&cd=B")
        self.assertEnds(self.product.start(), "PROXY_S_DONE")
        self.assertEqual(self.product.queued_hits(), [])
        paths = [request.path for request in self.server.requests]
        self.assertEqual([path for path in paths if "&cd=Start" not in path],
                         ["/collect?v=1&t=appview&cd=A", "/collect?v=1&t=appview&cd=B"])

    def test_two_runs_at_a_time_deliver_each_hit_once(self):
        lines = [f"/collect?v=1&t=appview&cd=Before{number}" for number in range(40)]
        make_file(self.product.queue_file, "".join(line + "\n" for line in lines).encode("ascii"))
        self.product.place_host()
        with concurrent.futures.ThreadPoolExecutor(2) as executor:
            runs = [executor.submit(self.product.start_command_line, self.product.command_line(f"/tabid {tab}"))
                    for tab in ("Scan", "Print")]
            for run in runs:
                self.assertEqual(run.result().result, "PROXY_S_DONE")
        delivered = [hits.sent(request.path) for request in self.server.requests] + self.product.queued_hits()
        self.assertEqual(sorted(delivered), sorted(lines + self.product.expected_hits().screen_run("Scan") +
                                                   self.product.expected_hits().screen_run("Print")))


class SlowServerTests(ReportingTest):
    """Each answer takes its time."""

    def test_all_hits_arrive_before_the_run_ends(self):
        server = self.serve(delay_seconds=1)
        run = self.product.start("/tabid Scan")
        self.assertEnds(run, "PROXY_S_DONE")
        self.assertGreaterEqual(run.elapsed_ms, 4000)
        self.assertSent(server, self.product.expected_hits().screen_run("Scan"))
        self.assertEqual(self.product.queued_hits(), [])

    def test_hits_that_there_is_no_time_for_stay_in_the_queue_file(self):
        lines = [f"/collect?v=1&t=appview&cd=Before{number}" for number in range(12)]
        make_file(self.product.queue_file, "".join(line + "\n" for line in lines).encode("ascii"))
        server = self.serve(delay_seconds=2)
        self.assertEqual(self.product.start("/tabid Scan").result, "PROXY_S_DONE")
        sent = [hits.sent(request.path) for request in server.requests]
        queued = [hits.stored(hit) for hit in self.product.queued_hits()]
        self.assertTrue(sent and queued)
        # The exchange that was under way at the end was waited for: each hit is here or there, and in its order.
        own = self.product.expected_hits().screen_run("Scan")
        self.assertEqual([hit for hit in sent + queued if hit in lines], lines)
        self.assertEqual([hit for hit in sent + queued if hit not in lines], own)

        server.delay_seconds = 0
        self.assertEnds(self.product.start("/tabid Print"), "PROXY_S_DONE")
        self.assertEqual(self.product.queued_hits(), [])
        delivered = [hits.sent(request.path) for request in server.requests]
        self.assertEqual(sorted(delivered), sorted(lines + own + self.product.expected_hits().screen_run("Print")))


class RefusedHitTests(ReportingTest):
    """The server takes every hit but one."""

    def test_holds_up_all_behind_it_in_their_order(self):
        server = self.serve(refused="&ea=Start&")
        self.assertEqual(self.product.start("/tabid Scan").result, "PROXY_S_DONE")
        expected = self.product.expected_hits().screen_run("Scan")
        tried = [hits.sent(request.path) for request in server.requests]
        self.assertEqual(tried[:2], expected[:2])
        self.assertEqual(set(tried[2:]), {expected[1]}) # again and again
        self.assertEqual([hits.stored(hit) for hit in self.product.queued_hits()], expected[1:])

        server = self.serve()
        self.assertEnds(self.product.start("/tabid Print"), "PROXY_S_DONE")
        delivered = [hits.sent(request.path) for request in server.requests]
        self.assertEqual(sorted(delivered), sorted(expected[1:] + self.product.expected_hits().screen_run("Print")))
        self.assertEqual(self.product.queued_hits(), [])


class OfflineTests(ReportingTest):
    """Nothing listens where the hits go. These tests take the twelve seconds that a run waits at most."""

    def test_hits_go_to_the_queue_file_and_the_next_run_delivers_them(self):
        server = self.serve(is_listening=False)
        before = int(time.time())
        run = self.product.start("/linkid L1 /connection NW /network Network_Wireless")
        after = int(time.time())
        self.assertEqual(run.result, "PROXY_S_DONE")
        queued = self.product.queued_hits()
        link_run = self.product.expected_hits().link_run("L1", "Unknown", "Network-Wireless")
        self.assertEqual([hits.stored(hit) for hit in queued], link_run)
        self.assertEqual([hits.tracked_at(hit) is not None for hit in queued], [False, False, True, False])
        tracked = hits.tracked_at(queued[2])
        self.assertTrue(before <= tracked <= after)

        server.listen()
        self.assertEnds(self.product.start("/tabid Scan"), "PROXY_S_DONE")
        delivered = [request.path for request in server.requests]
        screen_run = self.product.expected_hits().screen_run("Scan")
        # Both runs begin with the same hits, because their cache busters are the same.
        self.assertEqual(sorted(map(hits.sent, delivered)), sorted(link_run + screen_run))
        self.assertEqual([hit for hit in map(hits.sent, delivered) if hit in (link_run[2], screen_run[2])].count(
            link_run[2]), 1)
        link, = (path for path in delivered if hits.sent(path) == link_run[2])
        self.assertGreaterEqual(hits.queue_seconds(link), after - 1 - tracked)
        self.assertLessEqual(hits.queue_seconds(link), time.time() - tracked)
        self.assertEqual(self.product.queued_hits(), [])

    def assertKeeps(self, lines, kept_count):
        """A run of four hits adds them to these lines; no more than kept_count in all, and the order stays."""
        self.serve(is_listening=False)
        make_file(self.product.queue_file, "".join(line + "\n" for line in lines).encode("ascii"))
        self.assertEqual(self.product.start("/tabid Scan").result, "PROXY_S_DONE")
        queued = [hits.stored(hit) for hit in self.product.queued_hits()]
        own = [hit for hit in queued if hit not in lines]
        earlier = [hit for hit in queued if hit in lines]
        self.assertEqual(len(queued), kept_count)
        self.assertEqual(earlier, lines[:len(earlier)])
        # Those that the queue had no room for are the latest ones.
        self.assertEqual(own, self.product.expected_hits().screen_run("Scan")[:len(own)])
        return own

    def test_hits_of_an_earlier_run_stay(self):
        own = self.assertKeeps([f"/collect?v=1&t=appview&cd=Before{number}" for number in range(3)], 7)
        self.assertEqual(len(own), 4)

    def test_five_hundred_hits_are_kept(self):
        self.assertKeeps([f"/collect?v=1&t=appview&cd=Before{number}" for number in range(600)], 500)
