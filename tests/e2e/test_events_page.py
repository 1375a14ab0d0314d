"""The program's own runs in docs/events.md against what arrives at a server, hit by hit and letter by letter."""

from kvtest import hits
from kvtest.program_test import PLAIN, ReportingTest
from kvtest.wine import SOURCE

PAGE = SOURCE / "docs" / "events.md"
# What the page says of computer and program.
PAGE_FACTS = hits.ExpectedHits("NV-1000-3", "1.2.3", "3f2504e0-4f89-11d3-9a0c-0305e82c3301", "1920x1080", "32-bit", "en-US")


def runs_of_the_page():
    """The command lines of the runs, in order, each with its hits."""
    section = PAGE.read_text(encoding="ascii").split("\n## Runs of the program\n")[1].split("\n## ")[0]
    runs = {}
    for run in section.split("\n### ")[1:]:
        title, *lines = run.splitlines()
        runs[title.strip("`")] = [line[4:] for line in lines if line.startswith("    ")]
    return runs


class RunsOfTheProgramTests(ReportingTest):
    def setUp(self):
        super().setUp()
        self.product.write_config(PLAIN + "PropertyIDPrefix=NV-1000-\n")
        self.page = runs_of_the_page()

    def assertRunIsAsOnThePage(self, arguments):
        server = self.serve()
        self.assertEnds(self.product.start(arguments), "PROXY_S_DONE")
        expected = []
        for hit in self.page[arguments]:
            self.assertEqual(hit.count(PAGE_FACTS.facts), 1, hit)
            actual_facts = self.product.expected_hits("NV-1000-3").facts
            expected.append(hits.sent(hit.replace(PAGE_FACTS.facts, actual_facts)))
        self.assertSent(server, expected)

    def test_link(self):
        self.assertRunIsAsOnThePage("/linkid support /connection USB")

    def test_screen(self):
        self.assertRunIsAsOnThePage("/tabid Scan")

    def test_neither(self):
        self.assertRunIsAsOnThePage("/connection USB")

    def test_the_page_has_these_runs(self):
        self.assertEqual(list(self.page), ["/linkid support /connection USB", "/tabid Scan", "/connection USB"])
        self.assertTrue(all(self.page.values()))
