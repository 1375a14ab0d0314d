"""The model of scripts/soak: that it accepts what the rules allow, and finds what they do not. Needs no Wine."""

import types
import unittest

from kvtest import soak_model
from kvtest.soak_model import ACCEPTED, LOST, REFUSED

TIME = 1795294790
A, B, C, D = (f"p0-1-{number}-screen" for number in range(4))
COMMON = ("/collect?v=1&z=6093677622&ul=en-US&de=UTF-8&je=0&sd=32-bits&sr=1024x768&vp=1024x768&tid=SOAK-p0-1&an=SoakLong"
          "&av=1.0.0.0&aip=1&cid=bf16a492-9740-4841-8fc1-970180db5ba3&")


def tracked(key, state="t", size=0, limit=500):
    return f"track {key} {state} {size} {limit} {TIME}"


def account(*records):
    return soak_model.Account("\n".join(record.replace(" ", "\t") for record in ("process p0 304", "session X", *records)))


def arrival(key, outcome=ACCEPTED, queue_time="0", seconds=0):
    target = f"http://collect.norvik.example:80{COMMON}t=appview&cd={key}&cd90={key}&qt={queue_time}"
    return types.SimpleNamespace(time=TIME + seconds + 0.5, target=target, outcome=outcome)


def kinds(findings):
    return [finding.kind for finding in findings]


class SessionTests(unittest.TestCase):
    def check(self, *records):
        findings, cut = soak_model.check_session(account(*records).sessions[0])
        return kinds(findings), cut

    def test_sent_and_saved_in_order(self):
        self.assertEqual(self.check(tracked(A), tracked(B), f"exchange {A} 0", f"exchange {A} 1", f"save 1 {B}"), ([], []))

    def test_record_of_a_call_that_comes_after_its_exchange(self):
        self.assertEqual(self.check(f"exchange {A} 1", tracked(A)), ([], []))

    def test_lost(self):
        self.assertEqual(self.check(tracked(A), tracked(B), f"exchange {A} 1"), (["lost"], []))

    def test_given_up_after_a_failure(self):
        self.assertEqual(self.check(tracked(A), tracked(B), f"exchange {A} 0", f"exchange {B} 1"), (["lost", "order"], []))

    def test_invented(self):
        self.assertEqual(self.check(tracked(A), f"exchange {A} 1", f"exchange {B} 1"), (["invented"], []))

    def test_sent_twice(self):
        self.assertEqual(self.check(tracked(A), f"exchange {A} 1", f"exchange {A} 1"), (["duplicate"], []))

    def test_sent_and_saved(self):
        self.assertEqual(self.check(tracked(A), f"exchange {A} 1", f"save 1 {A}"), (["duplicate"], []))

    def test_sent_in_the_wrong_order(self):
        self.assertEqual(self.check(tracked(A), tracked(B), f"exchange {B} 1", f"exchange {A} 1"), (["order"], []))

    def test_saved_in_the_wrong_order(self):
        self.assertEqual(self.check(tracked(A), tracked(B), f"save 1 {B} {A}"), (["order"], []))

    def test_tried_before_its_turn(self):
        self.assertEqual(self.check(tracked(A), tracked(B), f"exchange {B} 0", f"exchange {A} 1", f"exchange {B} 1"),
                         (["order"], []))

    def test_loaded_behind_what_was_tracked_before(self):
        records = (tracked(A), f"load 1 {C} {D}", tracked(B))
        self.assertEqual(self.check(*records, f"save 2 {A} {C} {D} {B}"), ([], []))
        self.assertEqual(self.check(*records, f"save 2 {A} {B} {C} {D}"), ([], []))  # its record came late
        self.assertEqual(self.check(*records, f"save 2 {C} {D} {A} {B}"), (["order"], []))
        self.assertEqual(self.check(*records, f"save 2 {A} {C} {B} {D}"), (["order"], []))
        self.assertEqual(self.check(*records, f"save 2 {A} {C} {B}"), (["lost"], []))

    def test_cut_off_where_the_queue_has_no_room(self):
        lines = [f"p1-1-{number}-link" for number in range(501)]
        kept = " ".join(lines[:499])
        self.assertEqual(self.check(tracked(A), f"load 1 {' '.join(lines)}", f"save 2 {A} {kept}"), ([], lines[499:]))
        self.assertEqual(self.check(tracked(A), f"load 1 {' '.join(lines)}", f"save 2 {A} {' '.join(lines[:498])}")[0],
                         ["lost"])

    def test_cut_off_after_a_session_that_held_its_hits(self):
        hits = [f"p0-1-{number}-link" for number in range(700)]
        held, following = account(*map(tracked, hits, "t" * 700, range(700), [700] * 700), tracked(A, "d", 700, 700),
                                  f"save 1 {' '.join(hits)}", "session X", f"load 2 {' '.join(hits)}", tracked(B, "u", 500),
                                  f"save 3 {' '.join(hits[:500])}").sessions
        self.assertEqual(soak_model.check_session(held), ([], []))
        self.assertEqual(soak_model.check_session(following), ([], hits[500:]))

    def test_dropped_by_a_full_queue(self):
        self.assertEqual(self.check(tracked(A), tracked(B, "d", 1, 1), f"exchange {A} 1"), ([], []))

    def test_dropped_though_there_was_room(self):
        self.assertEqual(self.check(tracked(A), tracked(B, "d", 1, 2), f"exchange {A} 1"), (["lost"], []))

    def test_sent_though_it_was_dropped(self):
        self.assertEqual(self.check(tracked(A, "d", 1, 1), f"exchange {A} 1"), (["invented"], []))

    def test_unknown_may_be_either(self):
        self.assertEqual(self.check(tracked(A, "u", 1, 1)), ([], []))
        self.assertEqual(self.check(tracked(A, "u", 1, 1), f"exchange {A} 1"), ([], []))

    def test_early_is_known_by_what_was_loaded(self):
        self.assertEqual(self.check(tracked(A, "e", 500), f"load 1 {B}", f"save 2 {B}")[0], ["lost"])
        lines = " ".join(f"p1-1-{number}-link" for number in range(500))
        self.assertEqual(self.check(f"load 1 {lines}", tracked(A, "e", 500), f"save 2 {lines}"), ([], []))


class FileTests(unittest.TestCase):
    def check(self, *records, left=()):
        findings, discarded = soak_model.check_file([account(*records)], list(left))
        return kinds(findings), discarded

    def test_loads_find_what_was_saved(self):
        self.assertEqual(self.check(f"save 1 {A}", f"save 2 {B}", f"load 3 {A} {B}", f"save 4 {C}", left=[C]), ([], []))

    def test_counters_order_what_several_processes_do(self):
        accounts = [account(f"save 1 {A}", f"load 4 {A} {B}"), account("load 0", f"save 2 {B}")]
        self.assertEqual(soak_model.check_file(accounts, []), ([], []))

    def test_lost_between_processes(self):
        self.assertEqual(self.check(f"save 1 {A} {B}", f"load 2 {B}"), (["lost"], []))

    def test_loaded_twice(self):
        self.assertEqual(self.check(f"save 1 {A}", f"load 2 {A}", f"load 3 {A}"), (["invented"], []))

    def test_wrong_order(self):
        self.assertEqual(self.check(f"save 1 {A} {B}", f"load 2 {B} {A}"), (["order"], []))

    def test_left_at_the_end(self):
        self.assertEqual(self.check(f"save 1 {A}"), (["lost"], []))

    def test_discarded_by_the_driver(self):
        self.assertEqual(self.check(f"save 1 {A}", "discard 2", "load 3"), ([], [A]))

    def test_content(self):
        line = f"{COMMON}t=appview&cd={A}&cd90={A}#{TIME}\n".encode("ascii")
        self.assertEqual(soak_model.read_queue_file(b""), ([], []))
        self.assertEqual(soak_model.read_queue_file(line * 2), ([A, A], []))
        for damaged in (line[:-1], line[10:], line[:90] + line, line + b"\n", line.replace(b"&aip=1", b"")):
            self.assertEqual(kinds(soak_model.read_queue_file(damaged)[1]), ["queue file"], damaged)


class ArrivalTests(unittest.TestCase):
    def check(self, arrivals, *records, excused=()):
        return kinds(soak_model.check_arrivals(arrivals, [account(*records)], set(excused)))

    def test_each_arrived_once(self):
        self.assertEqual(self.check([arrival(A)], tracked(A), f"exchange {A} 1"), [])

    def test_refused_and_sent_again(self):
        self.assertEqual(self.check([arrival(A, REFUSED), arrival(A)], tracked(A), f"exchange {A} 0", f"exchange {A} 0",
                                    f"exchange {A} 1"), [])

    def test_sent_again_after_a_lost_answer(self):
        self.assertEqual(self.check([arrival(A, LOST), arrival(A)], tracked(A), f"exchange {A} 0", f"exchange {A} 1"), [])

    def test_sent_again_after_an_answer(self):
        self.assertEqual(self.check([arrival(A), arrival(A)], tracked(A), f"exchange {A} 0", f"exchange {A} 1"),
                         ["duplicate"])
        self.assertEqual(self.check([arrival(A), arrival(A, LOST)], tracked(A), f"exchange {A} 1", f"exchange {A} 0"),
                         ["duplicate"])

    def test_arrived_more_often_than_it_was_sent(self):
        self.assertEqual(self.check([arrival(A, LOST), arrival(A)], tracked(A), f"exchange {A} 1"), ["duplicate"])

    def test_answer_that_the_client_ignored(self):
        self.assertEqual(self.check([arrival(A)], tracked(A), f"exchange {A} 0"), ["duplicate"])

    def test_lost(self):
        self.assertEqual(self.check([], tracked(A)), ["lost"])
        self.assertEqual(self.check([arrival(A, LOST)], tracked(A), f"exchange {A} 0"), ["lost"])

    def test_delivery_that_the_client_dreamt_up(self):
        self.assertEqual(self.check([arrival(A, REFUSED)], tracked(A), f"exchange {A} 1"), ["lost"])

    def test_excused(self):
        self.assertEqual(self.check([], tracked(A), excused=[A]), [])

    def test_early_must_arrive_too(self):
        self.assertEqual(self.check([], tracked(A, "e", 500)), ["lost"])

    def test_invented(self):
        self.assertEqual(self.check([arrival(A), arrival(B)], tracked(A), f"exchange {A} 1"), ["invented"])

    def test_dropped_hit_that_arrived(self):
        self.assertEqual(self.check([arrival(A)], tracked(A, "d", 1, 1)), ["invented"])

    def test_torn(self):
        for change in (("&cd=p", "&cd=q"), ("z=6", "z="), ("&cid=bf16", "&cid=bf1"), ("t=appview&", ""), ("&cd90", "&x=1&cd90")):
            torn = arrival(A)
            torn.target = torn.target.replace(*change)
            self.assertEqual(self.check([torn, arrival(A)], tracked(A), f"exchange {A} 1"), ["invented"], torn.target)

    def test_queue_time(self):
        for queue_time, seconds, expected in (("0", 4, []), ("90000", 92, []), ("1.234e+06", 1235, []),
                                              ("0", 92, ["queue time"]), ("95000", 92, ["queue time"]),
                                              ("1000", 1235, ["queue time"])):
            self.assertEqual(self.check([arrival(A, queue_time=queue_time, seconds=seconds)], tracked(A), f"exchange {A} 1"),
                             expected, queue_time)

    def test_queue_time_is_missing(self):
        bare = arrival(A)
        bare.target = bare.target.removesuffix("&qt=0") + f"#{TIME}"
        self.assertEqual(self.check([bare], tracked(A), f"exchange {A} 1"), ["queue time"])

    def test_order_of_arrivals(self):
        sender = account(f"exchange {A} 0", f"exchange {A} 1", f"exchange {B} 1")
        self.assertEqual(soak_model.check_order_of_arrivals([arrival(A), arrival(B)], sender), [])
        self.assertEqual(kinds(soak_model.check_order_of_arrivals([arrival(B), arrival(A)], sender)), ["order"])

    def test_repeated(self):
        arrivals = [arrival(A, LOST), arrival(A, queue_time="1000", seconds=1), arrival(B, REFUSED), arrival(B), arrival(C)]
        self.assertEqual(soak_model.repeated(arrivals), 1)


class LogTests(unittest.TestCase):
    RECORDS = (tracked(A), tracked("SOAK-p0-1:stop"), tracked(B), "calls CDriver::Run 1")
    LINES = ["[304] (->) CDriver::Run", f"[304] (I0) soak {A} end", f"[304] (I0) soak {B} end", "[304] (<-) CDriver::Run"]
    START, END = "--- Queued Lines Start ---", "--- Queued Lines End ---"

    def check(self, *lines):
        findings, queues = soak_model.check_log("".join(line + "\r\n" for line in lines), [account(*self.RECORDS)])
        return kinds(findings), queues

    def test_each_line_once(self):
        self.assertEqual(self.check(*self.LINES), ([], 0))

    def test_queued_lines(self):
        lines = self.LINES[:1] + [self.START] + self.LINES[1:] + [self.END]
        self.assertEqual(self.check(*lines), ([], 1))

    def test_queued_lines_that_mix(self):
        self.assertEqual(self.check(self.START, self.START, *self.LINES, self.END, self.END), (["log"], 2))
        self.assertEqual(self.check(self.START, *self.LINES)[0], ["log"])

    def test_each_line_that_is_missing_or_there_twice(self):
        for number in range(4):
            self.assertEqual(self.check(*self.LINES[:number], *self.LINES[number + 1:])[0], ["log"])
            self.assertEqual(self.check(*self.LINES[:number], *self.LINES[number:number + 1], *self.LINES[number:])[0],
                             ["log"])

    def test_wrong_order(self):
        self.assertEqual(self.check(self.LINES[0], self.LINES[2], self.LINES[1], self.LINES[3])[0], ["log"])

    def test_torn_and_mixed(self):
        for number in range(4):
            torn = self.LINES[:number] + [self.LINES[number][:-3]] + self.LINES[number + 1:]
            self.assertNotEqual(self.check(*torn)[0], [])
        self.assertNotEqual(self.check(self.LINES[0] + self.LINES[1], *self.LINES[2:])[0], [])

    def test_last_line_without_an_end(self):
        text = "\r\n".join(self.LINES)
        self.assertIn("log", kinds(soak_model.check_log(text, [account(*self.RECORDS)])[0]))

    def test_unknown_process(self):
        self.assertEqual(self.check(*self.LINES, f"[305] (I0) soak {A} end")[0], ["log"])


class GrowthTests(unittest.TestCase):
    def samples(self, gauge):
        return [soak_model.Sample("network", number, gauge(number), 1, 0, number * 10, 0) for number in range(50)]

    def test_flat_after_the_warm_up(self):
        self.assertEqual(soak_model.growth(self.samples(lambda number: min(number, 8)), "handles", "exchanges"), (8, 8, 0))

    def test_growth_for_each(self):
        early, late, each = soak_model.growth(self.samples(lambda number: 7 + number), "handles", "exchanges")
        self.assertEqual((early, late, each), (21.5, 51.5, 0.1))

    def test_one_sample_that_sticks_out_is_no_growth(self):
        self.assertEqual(soak_model.growth(self.samples(lambda number: 9 if number == 47 else 5), "handles", "exchanges"),
                         (5, 5, 0))

    def test_too_few_samples(self):
        with self.assertRaises(ValueError):
            soak_model.growth(self.samples(lambda number: 5)[:9], "handles", "exchanges")


if __name__ == "__main__":
    unittest.main()
