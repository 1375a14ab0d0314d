"""How long a run waits until its hits are accepted, and what it does during that time. A run whose hits are never accepted
lasts twelve seconds of real time."""

import itertools
import re
import statistics

from kvtest import hits
from kvtest.collection_server import CLOSE
from kvtest.program_test import LONGEST_WAIT_MS, ReportingTest

LOG_FILE = "C:\\trace.log"
NOTES_OF_PROGRESS = 0x10
# The pause that is under way when the time is over, and what the system adds to it and to the client's end.
MARGIN_MS = 2500
# Between two attempts, which are one second and an exchange apart; on a busy machine an exchange is slow.
LONGEST_PAUSE_SECONDS = 4


class LoggingTest(ReportingTest):
    """The run's own clock and the times of its files measure the wait. The time from start to end would include the loading
    and the unloading of the process, which take seconds on a busy machine."""

    def setUp(self):
        super().setUp()
        self.product.log_to(LOG_FILE, NOTES_OF_PROGRESS, 0)

    def waited_ms(self):
        """What the last line of the log, written when the wait ends, says of it."""
        last_line = self.prefix.path(LOG_FILE).read_bytes().decode("utf-16-le").splitlines()[-1]
        self.assertRegex(last_line, r"Run - Total wait time is [0-9]+ ms$")
        return int(re.search("([0-9]+) ms$", last_line)[1])

    def saved_after_ms(self):
        """The time from the end of the wait until the client has written the queue file."""
        return (self.product.queue_file.stat().st_mtime_ns - self.prefix.path(LOG_FILE).stat().st_mtime_ns) / 1e6


class WaitingTests(LoggingTest):
    def wait_in_vain(self, **server_options):
        """The server after a run of which it accepted nothing."""
        server = self.serve(**server_options)
        run = self.product.start("/linkid L1 /connection USB")
        self.assertEqual(run.result, "PROXY_S_DONE")
        self.assertGreaterEqual(run.elapsed_ms, LONGEST_WAIT_MS)
        self.assertGreaterEqual(self.waited_ms(), LONGEST_WAIT_MS)
        self.assertLessEqual(self.waited_ms() + self.saved_after_ms(), LONGEST_WAIT_MS + MARGIN_MS)
        self.assertEqual([hits.stored(hit) for hit in self.product.queued_hits()],
                         self.product.expected_hits().link_run("L1", "Unknown", "USB"))
        return server

    def assertOnlyFirstTried(self, server):
        """About once a second, for as long as the run lasted."""
        first = self.product.expected_hits().session_start()
        self.assertEqual({request.path for request in server.requests}, {first})
        self.assertLess(len(server.requests), 15)
        times = [request.at for request in server.requests]
        self.assertGreater(times[-1] - times[0], LONGEST_WAIT_MS / 1000 - LONGEST_PAUSE_SECONDS)
        # A busy machine lengthens pauses, and shortens one when the server sees the request before it late.
        pauses = [later - earlier for earlier, later in itertools.pairwise(times)]
        self.assertGreaterEqual(statistics.median(pauses), 0.95)
        self.assertLess(min(pauses), 1.5)
        self.assertLess(max(pauses), LONGEST_PAUSE_SECONDS)

    def test_nothing_listens(self):
        server = self.wait_in_vain(is_listening=False)
        self.assertEqual(server.connections, 0)

    def test_server_error(self):
        self.assertOnlyFirstTried(self.wait_in_vain(answers=[500]))

    def test_answer_without_content_is_no_delivery(self):
        self.assertOnlyFirstTried(self.wait_in_vain(answers=[204]))

    def test_redirection_is_no_delivery(self):
        self.assertOnlyFirstTried(self.wait_in_vain(answers=[301]))

    def test_hit_that_is_refused_keeps_those_behind_it_waiting(self):
        server = self.wait_in_vain(refused="sc=start")
        self.assertOnlyFirstTried(server) # although the others would be taken
        self.assertEqual({request.answer for request in server.requests}, {503})

    def test_connection_that_is_closed_without_an_answer(self):
        server = self.wait_in_vain(answers=[CLOSE])
        first = self.product.expected_hits().session_start()
        self.assertEqual({request.path for request in server.requests}, {first})


class RecoveryTests(LoggingTest):
    def test_run_ends_as_soon_as_its_hits_are_taken(self):
        self.serve()
        self.assertEnds(self.product.start("/linkid L1"), "PROXY_S_DONE")
        self.assertLess(self.waited_ms(), LONGEST_WAIT_MS)
        self.assertEqual(self.product.queued_hits(), [])

    def test_run_without_consent_does_not_wait(self):
        self.serve(is_listening=False)
        self.product.opt_out()
        self.assertLess(self.product.start("/linkid L1").elapsed_ms, LONGEST_WAIT_MS)

    def test_server_that_fails_at_first(self):
        server = self.serve(answers=[500, 503, 200])
        self.assertEnds(self.product.start("/linkid L1"), "PROXY_S_DONE")
        own = self.product.expected_hits().link_run("L1")
        self.assertEqual([hits.sent(request.path) for request in server.requests], [own[0], own[0], *own])
        self.assertEqual(self.product.queued_hits(), [])

    def test_server_that_fails_later(self):
        server = self.serve(answers=[200, 200, 500, 200])
        self.assertEnds(self.product.start("/linkid L1"), "PROXY_S_DONE")
        own = self.product.expected_hits().link_run("L1")
        self.assertEqual([hits.sent(request.path) for request in server.requests], [*own[:3], *own[2:]])
        # The second attempt of the tracked hit comes a second later and says so.
        self.assertGreaterEqual(hits.queue_seconds(server.requests[3].path), 1)
        self.assertEqual(self.product.queued_hits(), [])

    def test_created_and_accepted_are_deliveries(self):
        server = self.serve(answers=[201, 202, 201, 202])
        self.assertEnds(self.product.start("/linkid L1"), "PROXY_S_DONE")
        self.assertSent(server, self.product.expected_hits().link_run("L1"))
        self.assertEqual(self.product.queued_hits(), [])
