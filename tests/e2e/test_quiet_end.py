"""How the program ends after a failure that no handler catches: with 3, without a message, and with the hits of earlier
runs in the queue file. A program of the same sources has the failures built in (tests/proxy/FailingProgram.cpp)."""

import os
import pathlib

from kvtest import hits
from kvtest.product import Product, make_file
from kvtest.program_test import LONGEST_RUN_MS, ReportingTest

QUIET_END = 3
EARLIER = ["/collect?v=1&t=appview&cd=Before1#1416096000", "/collect?v=1&t=appview&cd=Before2#1416096001"]


class QuietEndTests(ReportingTest):
    def setUp(self):
        super().setUp()
        program = pathlib.Path(os.environ["KV_E2E_FAILING"])
        self.product = Product(self.prefix, self.product.files._replace(program=program))
        self.serve(is_listening=False)
        make_file(self.product.queue_file, "".join(line + "\n" for line in EARLIER).encode("ascii"))

    def assertQuietEnd(self, failure):
        run = self.product.start(f"/linkid L1 /failure {failure}")
        self.assertEqual(run.exit_code, QUIET_END)
        self.assertEqual(run.output, "")
        self.assertLess(run.elapsed_ms, LONGEST_RUN_MS)

    def assertNoHitIsLost(self):
        own = self.product.expected_hits().link_run("L1")[:2]
        queued = self.product.queued_hits()
        self.assertEqual([hit for hit in queued if hit in EARLIER], EARLIER)
        self.assertEqual([hits.stored(hit) for hit in queued if hit not in EARLIER], own)

    def test_failed_allocation_loses_no_hit(self):
        self.assertQuietEnd("allocation")
        self.assertNoHitIsLost()

    def test_abort_loses_no_hit(self):
        self.assertQuietEnd("abort")
        self.assertNoHitIsLost()

    def test_failure_on_the_way_out_ends_at_once(self):
        self.assertQuietEnd("again")

    def test_exception_on_another_thread_ends_at_once(self):
        self.assertQuietEnd("thread")

    def test_without_a_failure_the_program_is_the_usual_one(self):
        """Or the tests above would prove nothing."""
        self.assertEnds(self.product.start("/linkid L1 /failure none"), "PROXY_S_DONE")
