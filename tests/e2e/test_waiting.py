"""How long a run waits for its hits to be taken, and what it does meanwhile. A run whose hits nobody takes lasts twelve
seconds of real time."""

import hits
from collection_server import CLOSE
from program_test import LONGEST_WAIT_MS, ReportingTest

# The pause that is under way when the time is over, and what the system adds to each of them.
MARGIN_MS = 2500


class WaitingTests(ReportingTest):
    def wait_in_vain(self, **server_options):
        """The server after a run of which it took nothing."""
        server = self.serve(**server_options)
        start_and_end_ms = self.time_of_a_run_without_consent()
        run = self.product.start("/linkid L1 /connection USB")
        self.assertEqual(run.result, "PROXY_S_DONE")
        self.assertGreaterEqual(run.elapsed_ms, LONGEST_WAIT_MS)
        self.assertLessEqual(run.elapsed_ms, LONGEST_WAIT_MS + MARGIN_MS + start_and_end_ms)
        self.assertEqual([hits.stored(hit) for hit in self.product.queued_hits()],
                         self.product.expected_hits().link_run("L1", "Unknown", "USB"))
        return server

    def time_of_a_run_without_consent(self):
        """What the process itself takes, on a machine that may be busy."""
        self.product.opt_out()
        run = self.product.start("/linkid L1")
        self.assertEqual(run.result, "PROXY_S_NOT_OPTED_IN")
        self.product.opt_out_mark().unlink()
        return run.elapsed_ms

    def assertOnlyFirstTried(self, server):
        """About once a second, for as long as the run lasted."""
        first = self.product.expected_hits().session_start()
        self.assertEqual({request.path for request in server.requests}, {first})
        self.assertIn(len(server.requests), range(8, 15))
        seconds = server.requests[-1].at - server.requests[0].at
        self.assertGreaterEqual(seconds / (len(server.requests) - 1), 0.95)

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
        self.assertEqual({request.answer for request in server.requests}, {400})

    def test_connection_that_is_closed_without_an_answer(self):
        server = self.wait_in_vain(answers=[CLOSE])
        first = self.product.expected_hits().session_start()
        self.assertEqual({request.path for request in server.requests}, {first})


class RecoveryTests(ReportingTest):
    def test_run_ends_as_soon_as_its_hits_are_taken(self):
        self.serve()
        self.assertLess(self.product.start("/linkid L1").elapsed_ms, LONGEST_WAIT_MS)
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

    def test_server_that_answers_slowly_gets_each_hit_once(self):
        answer_seconds = 1.5
        server = self.serve(answer_seconds=answer_seconds)
        run = self.product.start("/linkid L1")
        self.assertEnds(run, "PROXY_S_DONE")
        self.assertSent(server, self.product.expected_hits().link_run("L1"))
        self.assertGreaterEqual(run.elapsed_ms, 3 * answer_seconds * 1000)
        self.assertEqual(self.product.queued_hits(), [])

    def test_created_and_accepted_are_deliveries(self):
        server = self.serve(answers=[201, 202, 201, 202])
        self.assertEnds(self.product.start("/linkid L1"), "PROXY_S_DONE")
        self.assertSent(server, self.product.expected_hits().link_run("L1"))
        self.assertEqual(self.product.queued_hits(), [])
