"""The model of scripts/faults: that it accepts what may happen, and finds what must not. Needs no Wine."""

import unittest

from kvtest import fault_model
from kvtest.fault_model import (ABORTED, CRASH, DONE, DOUBLED, HANG, HANGS, INVENTED, KILLED, LOST, NOT_OPTED_IN, PRINTS, QUIET,
                         REPORTED, TORN, Journal, Outcome, older_hit)

OLDER = 3
COMMON = ("/collect?v=1&z=6093677622&ul=en-US&de=UTF-8&je=0&sd=32-bit&sr=1024x768&vp=1024x768&tid=FAULTS-3&an=LumoLink"
          f"&av=1.0.0.0&aip=1&cid={fault_model.CLIENT_ID}&")
BEGIN = COMMON + "sc=start&t=appview&cd=Start"
LAUNCH = COMMON + "t=event&ec=ApplicationLifeCycle&ea=Start&el=Launch&cd=Start"
LINK = COMMON + "t=event&ec=Link&ea=Click&el=L1&&cd1=Unknown&cd3=USB#1795330925"
STOP = COMMON + "sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Start"


def sent(number):
    return older_hit(number).replace("#1416096000", "&qt=379234925000")


def lines(*hits):
    return "".join(hit + "\n" for hit in hits).encode("ascii")


ALL = lines(*(older_hit(number) for number in range(OLDER)))


def outcome(arrivals=(), file=ALL, end=DONE, printed=b"", journal="", connections=None):
    return Outcome(OLDER, end, printed, Journal(journal), list(arrivals),
                   len(arrivals) if connections is None else connections, file)


def kinds(*arguments, opted_out=False, is_killed=False, **options):
    findings, _ = fault_model.judge(outcome(*arguments, **options), opted_out, is_killed)
    return [finding.kind for finding in findings]


class KeyTests(unittest.TestCase):
    def test_older_hits_sent_and_stored(self):
        self.assertEqual([fault_model.key_of(hit) for hit in (older_hit(7), sent(7))], ["older-07"] * 2)

    def test_own_hits(self):
        self.assertEqual([fault_model.key_of(hit) for hit in (BEGIN, LAUNCH, LINK, LINK.partition("#")[0] + "&qt=1000", STOP)],
                         ["begin", "launch", "link", "link", "stop"])

    def test_facts_that_could_not_be_found_out_are_left_out(self):
        bare = BEGIN.replace("&ul=en-US", "").replace("&sd=32-bit", "").replace("&sr=1024x768&vp=1024x768", "")
        bare = bare.replace("av=1.0.0.0", "av=Unknown").replace(f"&cid={fault_model.CLIENT_ID}", "")
        self.assertEqual(fault_model.key_of(bare), "begin")

    def test_a_clock_that_cannot_be_read(self):
        self.assertEqual(fault_model.key_of(LINK.partition("#")[0] + "#-11644473600"), "link")

    def test_facts_of_a_link_without_a_hit_are_in_the_end(self):
        self.assertEqual(fault_model.key_of(STOP + "&cd1=Unknown&cd3=USB"), "stop")
        self.assertIsNone(fault_model.key_of(LAUNCH + "&cd1=Unknown&cd3=USB"))

    def test_torn_and_mixed_hits_are_none(self):
        for hit in (older_hit(7)[:-3], older_hit(7)[1:], older_hit(7) + older_hit(8), BEGIN[:-1], BEGIN + LAUNCH,
                    LINK.partition("#")[0], older_hit(7).replace("cd3=USB", "cd3=U"),
                    older_hit(7).replace("z=1234567897", "z=1234567899"), ""):
            with self.subTest(hit):
                self.assertIsNone(fault_model.key_of(hit))


class JudgeTests(unittest.TestCase):
    def test_each_older_hit_arrived_or_stayed(self):
        self.assertEqual(kinds([sent(0), BEGIN], lines(older_hit(1), older_hit(2), LINK)), [])

    def test_lost(self):
        self.assertEqual(kinds([sent(0)], lines(older_hit(2))), [LOST])
        self.assertEqual(kinds([], None), [LOST])

    def test_own_hits_may_be_missing(self):
        self.assertEqual(kinds(), [])
        self.assertEqual(fault_model.lost_hits(outcome([BEGIN, sent(0)], lines(older_hit(1)))), (1, 3))

    def test_doubled(self):
        self.assertEqual(kinds([sent(0)]), [DOUBLED])
        self.assertEqual(kinds([sent(0), sent(0)], lines(older_hit(1), older_hit(2))), [DOUBLED])
        self.assertEqual(kinds([], ALL + lines(older_hit(1))), [DOUBLED])
        self.assertEqual(kinds([BEGIN, BEGIN]), [DOUBLED])

    def test_doubled_because_the_answer_was_lost(self):
        journal = "1 c HttpQueryInfoW failed\n"
        findings, excused = fault_model.judge(outcome([sent(0), sent(0)], lines(older_hit(1), older_hit(2)), journal=journal))
        self.assertEqual((findings, excused), ([], 1))
        journal = "1 c HttpSendRequestW\n0 c CloseHandle\n1 c GetProcAddress failed\n"
        self.assertEqual(kinds([sent(0)], journal=journal), [])
        self.assertEqual(kinds([], ALL + lines(older_hit(1)), journal=journal), [DOUBLED])
        self.assertEqual(kinds([sent(0)], journal="1 c CloseHandle\n1 c GetProcAddress failed\n"), [DOUBLED])
        self.assertEqual(kinds([sent(0)], journal="1 c CloseHandle failed\n"), [DOUBLED])

    def test_torn(self):
        self.assertEqual(kinds(file=ALL + b"/collect?v=1"), [TORN])
        self.assertEqual(kinds(file=ALL + b"/collect?v=1\n"), [TORN])
        self.assertEqual(kinds(file=ALL[:-1]), [TORN, LOST])

    def test_invented(self):
        self.assertEqual(kinds(["/"]), [INVENTED])

    def test_ends(self):
        for end in (DONE, QUIET, 0, *fault_model.RESULTS):
            self.assertEqual(kinds(end=end), [])
        for end in (0xC0000005, ABORTED, KILLED, 1):
            self.assertEqual(kinds(end=end), [CRASH])
        self.assertEqual(kinds(end=HANG), [HANGS])
        self.assertEqual(kinds(end=QUIET, printed=b"terminate called"), [PRINTS])


class OptedOutTests(unittest.TestCase):
    def test_nothing_happens(self):
        self.assertEqual(kinds(end=NOT_OPTED_IN, opted_out=True), [])

    def test_a_hit(self):
        self.assertEqual(kinds([BEGIN], end=DONE, opted_out=True), [REPORTED])

    def test_a_connection_without_a_hit(self):
        self.assertEqual(kinds(end=DONE, connections=1, opted_out=True), [REPORTED])

    def test_a_hit_that_waits_in_the_file(self):
        self.assertEqual(kinds(file=ALL + lines(BEGIN), end=DONE, opted_out=True), [REPORTED])


class KillTests(unittest.TestCase):
    def test_what_was_in_memory_is_lost(self):
        self.assertEqual(kinds([], b"", end=KILLED, is_killed=True), [])

    def test_doubled_and_torn(self):
        self.assertEqual(kinds([], ALL + ALL[:20], end=KILLED, is_killed=True), [TORN])
        self.assertEqual(kinds([], ALL + ALL, end=KILLED, is_killed=True), [DOUBLED] * OLDER)

    def test_cut_between_two_pages(self):
        file = lines(*(older_hit(number) for number in range(40)))
        self.assertEqual(kinds([], file[:fault_model.PAGE], end=KILLED, is_killed=True), [])
        self.assertEqual(kinds([], file[:fault_model.PAGE - 1], end=KILLED, is_killed=True), [TORN])
        self.assertEqual(kinds([], file[:fault_model.PAGE]), [TORN])


class JournalTests(unittest.TestCase):
    def test_events_are_counted_by_kind_and_thread(self):
        journal = Journal("0 n new\n0 c CloseHandle\n1 c Sleep\n0 c CloseHandle failed\nturn 512\n" + "\0" * 100)
        self.assertEqual(journal.counts, {("n", 0): 1, ("c", 0): 2, ("c", 1): 1})
        self.assertEqual(journal.failed, [("c", 0, 1, "CloseHandle")])
        self.assertEqual(journal.turns, [512])
        self.assertEqual(journal.unlisted, set())

    def test_functions_in_neither_list(self):
        self.assertEqual(Journal("unlisted 0\nGetTempPathW 0\n0 n new\n").unlisted, {"GetTempPathW"})


if __name__ == "__main__":
    unittest.main()
