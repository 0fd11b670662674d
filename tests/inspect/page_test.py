#!/usr/bin/env python3
"""The pages of ztinspect report in a browser: opened, searched, clicked, with keys, on a phone.

usage: page_test.py ZTINSPECT MAKER PLUGIN

Without Chromium this is skipped; with CI set in the environment it fails instead.
"""

import os
import pathlib
import subprocess
import sys
import unittest

import browser

ZTINSPECT, MAKER, PLUGIN = sys.argv[1:4]

SEEN = "[...document.querySelectorAll('.tree:not([hidden]) .row')]"
CHOSEN = "document.querySelector('.tree:not([hidden]) [aria-selected=true]')"
HEADING = "document.querySelector('h2').textContent"


def report(name, *arguments, expected=0):
    """Makes the page of a file."""
    done = subprocess.run([ZTINSPECT, "report", f"{name}.zt", "-o", f"{name}.html", *arguments], capture_output=True)
    assert done.returncode == expected, done.stderr


def make(name, *arguments):
    subprocess.run([MAKER, name, f"{name}.zt", *arguments], check=True)


class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        for name in ("plant", "signs", "stations"):
            make(name, "binary", PLUGIN)
        make("many", "20000")
        pathlib.Path("cut.zt").write_bytes(pathlib.Path("plant.zt").read_bytes()[:700])
        for name in ("plant", "signs", "many"):
            report(name, "--load", PLUGIN)
        report("stations")
        report("cut", expected=1)
        cls.page = browser.Browser()
        cls.addClassCleanup(cls.page.close)

    def setUp(self):
        self.page.resize(1400, 900)
        self.page.dark(False)

    def tearDown(self):
        self.assertEqual(self.page.errors(), [])

    def open(self, name, fragment=""):
        self.page.open(f"{name}.html", fragment)

    def names(self):
        """The names in the rows that are in the document."""
        return self.page.run(f"{SEEN}.map((row) => row.querySelector('.name').textContent)")

    def click_row(self, name, part=".name"):
        self.page.click(f"{SEEN}.find((row) => row.querySelector('.name').textContent === {name!r})"
                        f".querySelector('{part}')")

    def search(self, text):
        self.page.run("search.focus(); search.select()")
        self.page.type(text)
        return self.page.run("document.getElementById('found').textContent")

    def texts(self, selector):
        return self.page.run(f"[...document.querySelectorAll({selector!r})].map((one) => one.textContent)")

    def test_a_page_asks_for_nothing_else_and_may_not(self):
        self.open("signs")
        self.assertEqual([url.partition("#")[0] for url in self.page.requests()],
                         [pathlib.Path("signs.html").resolve().as_uri()])
        refused = self.page.run("new Promise((done) => { document.addEventListener('securitypolicyviolation', "
                                "(event) => done(event.violatedDirective));"
                                "new Image().src = 'http://127.0.0.1:9/'; })")
        self.assertEqual(refused, "img-src")
        self.page.events.clear()

    def test_rows_open_and_close(self):
        self.open("plant")
        self.assertEqual(self.names(), ["plant", "hall", "tank", "night shift"])
        self.click_row("hall", ".opener")
        self.assertEqual(self.names(), ["plant", "hall", "night shift"])
        self.click_row("hall", ".opener")
        self.assertEqual(self.names(), ["plant", "hall", "tank", "night shift"])
        self.page.click("document.getElementById('close-all')")
        self.assertEqual(self.names(), ["plant"])
        self.page.click("document.getElementById('open-all')")
        self.assertEqual(len(self.names()), 4)

    def test_a_click_shows_the_fields_with_offsets(self):
        self.open("plant")
        self.click_row("tank")
        self.assertEqual(self.page.run(HEADING), "ztRoot tank")
        self.assertEqual(self.texts("td"), ["@488", "uid", "3", "@492", "name", '"tank"', "@572", "parentUid", "2"])
        self.assertEqual(self.texts(".path a"), ["ztRoot “plant”", "ztRoot “hall”"])

    def test_keys_lead_everywhere(self):
        self.open("plant")
        self.page.run("trees.records.box.focus()")
        for key, chosen in (("Home", "plant"), ("ArrowDown", "hall"), ("ArrowRight", "tank"), ("ArrowLeft", "hall"),
                            ("ArrowLeft", "hall"), ("ArrowDown", "night shift"), ("ArrowUp", "hall"),
                            ("ArrowRight", "hall"), ("End", "night shift")):
            self.page.press(key)
            self.assertEqual(self.page.run(f"{CHOSEN}.querySelector('.name').textContent"), chosen, key)
            self.assertEqual(self.page.run(HEADING), f"ztRoot {chosen}")
        self.page.press("Enter")
        self.assertEqual(self.page.run("document.activeElement.id"), "details")
        self.page.press("/", "/")
        self.assertEqual(self.page.run("document.activeElement.id"), "search")
        self.page.type("tank")
        self.page.press("Enter")
        self.assertEqual(self.page.run(HEADING), "ztRoot tank")
        self.page.press("/", "/")
        self.page.press("Escape")
        self.assertEqual(self.page.run("[search.value, document.activeElement.id]"), ["", "records"])
        self.assertEqual(len(self.names()), 4)

    def test_a_search_finds_names_classes_and_values(self):
        self.open("signs")
        for text, found, names in (("SECOND", "1 found", ["plant", "second"]), ("signpost", "5 found", None),
                                   ("499.5", "1 found", ["plant", "sensors"]), ("99", "2 found", None),
                                   ("sign self", "1 found", ["plant", "self"]), ("nowhere", "0 found", [])):
            self.assertEqual(self.search(text), found, text)
            if names is not None:
                self.assertEqual(self.names(), names)
        self.search("lost")
        self.assertEqual(self.texts("mark"), ["lost"])
        self.assertEqual(self.page.run(f"{SEEN}.map((row) => row.classList.contains('above'))"), [True, False])
        self.assertEqual(self.page.run(f"{SEEN}.map((row) => row.getAttribute('aria-expanded'))"), ["true", None])

    def test_links_are_followed_there_and_back(self):
        self.open("signs")
        self.click_row("first")
        self.page.click("document.querySelector('td a')")
        self.assertEqual(self.page.run(HEADING), "Signpost second")
        self.assertEqual(self.page.run(f"{CHOSEN}.querySelector('.name').textContent"), "second")
        self.assertEqual(self.texts("ul.nodes a"), ["Signpost “first”"])
        self.page.click("document.querySelector('td a')")
        self.assertEqual(self.page.run(HEADING), "Signpost first")
        self.page.run("new Promise((done) => { window.addEventListener('hashchange', () => done(1), {once: true});"
                      "history.back(); })")
        self.assertEqual(self.page.run(HEADING), "Signpost second")
        self.click_row("self")
        self.page.click("document.querySelector('td a')")
        self.assertEqual(self.page.run(HEADING), "Signpost self")
        for name, text in (("lost", "99 (no node has this identifier)"), ("unset", "-1 (leads nowhere)")):
            self.click_row(name)
            self.assertIn(text, self.texts("td"))

    def test_names_are_texts_whatever_they_hold(self):
        self.open("signs")
        self.assertEqual(self.names()[6:10], ["</script><script>document.title = 'broken'</script>",
                                              "\"quotes' \\ &amp; <!-- <b>", "bell\\x07 tab\\x09 escape\\x1b[31m",
                                              "no text: \\xff\\xc3("])
        self.assertEqual(self.page.run("document.title"), "signs.zt - ztinspect report")
        self.assertEqual(self.page.run("document.querySelectorAll('b').length"), 0)
        self.page.run("choose(6, 'click')")
        self.page.settle()
        self.assertIn("\"</script><script>document.title = 'broken'</script>\"", self.texts("td"))

    def test_series_are_lines_with_totals_and_averages(self):
        self.open("signs", "#r10")
        self.assertEqual(self.texts("figcaption"), ["count3 valuestotal 30average 100 to 20",
                                                    "level1,000 valuestotal 249750average 249.750 to 499.5"])
        self.assertEqual(self.page.run("[...document.querySelectorAll('svg')].map((svg) => "
                                       "svg.querySelector('.series').getTotalLength() > 300)"), [True, True])
        self.assertEqual(self.page.run("document.querySelectorAll('svg')[0].querySelectorAll('.point').length"), 4)
        place = self.page.run("(() => { const r = document.querySelector('svg').getBoundingClientRect();"
                              "return [r.right - 12, r.y + 50]; })()")
        self.page.call("Input.dispatchMouseEvent", type="mouseMoved", x=place[0], y=place[1])
        self.page.settle()
        self.assertIn("[2] = 20", self.texts("svg text"))

    def test_series_of_any_numbers_end_in_a_line_or_in_none(self):
        self.open("plant")
        for values, lines in ((["1e16", "10000000000000002"], 1), (["1.7e308", "-1.7e308"], 0), (["0", "5e-324"], 1),
                              (["7", "7", "7"], 1), (["NaN", "Infinity"], 0), (["1", "NaN", "3", "4"], 2), (["5"], 1)):
            drawn = self.page.run(f"(() => {{ const chart = new Chart({values}); chart.drawAt(400);"
                                  "return [...chart.holder.querySelectorAll('.series')]"
                                  ".map((one) => one.getAttribute('d')); })()")
            self.assertEqual(len(drawn), lines, values)
            self.assertNotIn("NaN", " ".join(drawn))

    def test_an_address_that_names_nothing_shows_the_tree(self):
        for fragment in ("#r99", "#cNothing", "#r%", "#"):
            self.open("plant", fragment)
            self.assertEqual(len(self.names()), 4)

    def test_classes_have_chains_slots_and_fields(self):
        self.open("signs")
        self.page.click("document.getElementById('tab-classes')")
        self.assertEqual(self.search("ztTag"), "2 found")
        self.click_row("ztTag")
        self.assertEqual(self.page.run(HEADING), "ztTag")
        self.assertEqual(self.texts(".path a"), ["ztBaseClass", "ztObject", "ztRoot"])
        slots = self.page.run("[...document.querySelectorAll('table:last-of-type .from')].map((cell) => "
                              "[cell.previousSibling.textContent, cell.textContent])")
        self.assertEqual([int(number) for number, _ in slots], list(range(64)))
        self.assertRegex(slots[40][1], r"findChildById\).*ztRoot$")
        self.assertIn("attributes", self.texts("td"))
        self.page.click("document.querySelector('.path a:last-of-type')")
        self.assertEqual(self.page.run(HEADING), "ztRoot")
        self.page.click("document.getElementById('tab-records')")
        self.search("first")
        self.click_row("first")
        self.page.click("document.querySelector('h2 a')")
        self.assertEqual(self.page.run(HEADING), "Signpost")

    def test_nothing_is_wider_than_a_phone(self):
        self.page.resize(390, 844, isPhone=True)
        wider = ("[...document.querySelectorAll('body *')].filter((one) => !one.closest('.row') && "
                 "one.getBoundingClientRect().right > 390.5).map((one) => one.outerHTML)")
        for name, fragments in (("cut", ["", "#r3"]), ("signs", ["", "#r0", "#r6", "#r10", "#cztTag"])):
            self.open(name)
            for fragment in fragments:
                self.page.run(f"location.hash = {fragment!r}")
                self.page.settle()
                self.assertEqual(self.page.run("document.body.classList.contains('showing')"), fragment != "")
                self.assertEqual(self.page.run(wider), [], fragment)
                self.assertEqual(self.page.run("document.documentElement.scrollWidth"), 390)

    def test_a_phone_shows_one_pane_at_a_time(self):
        self.page.resize(390, 844, isPhone=True)
        self.open("signs")
        shown = ("[...document.querySelectorAll('#left, #details')].filter((one) => one.clientHeight > 0)"
                 ".map((one) => one.id)")
        self.assertEqual(self.page.run(shown), ["left"])
        self.click_row("first")
        self.assertEqual(self.page.run(shown), ["details"])
        self.page.click("document.getElementById('back')")
        self.assertEqual(self.page.run(shown), ["left"])
        self.assertEqual(self.page.run(f"{CHOSEN}.querySelector('.name').textContent"), "first")

    def test_a_dark_screen_has_a_dark_page(self):
        colour = "getComputedStyle(document.body).backgroundColor"
        self.open("plant")
        self.assertEqual(self.page.run(colour), "rgb(255, 255, 255)")
        self.page.dark(True)
        self.assertEqual(self.page.run(colour), "rgb(20, 24, 29)")

    def test_damage_and_what_was_skipped_are_told(self):
        self.open("cut", "#r3")
        reason = "the file ends where 80 bytes should be"
        self.assertEqual(self.texts("#problems p"), [f"damaged at offset 684: {reason}"])
        self.assertEqual(self.texts(".trouble"), [f"Damaged at offset 684: {reason}"])
        self.assertEqual(self.texts(".row .bad"), ["damaged"])
        self.open("stations")
        self.assertEqual(self.texts(".row .bad"), ["skipped", "skipped"])
        self.assertEqual(self.texts("#problems p"),
                         ["class Station is not known: 2 records skipped, the first at offset 192"])

    def test_of_many_nodes_those_that_are_seen_are_in_the_document(self):
        self.open("many")
        self.page.click("document.getElementById('open-all')")
        self.assertEqual(self.page.run("trees.records.rows.length"), 20000)
        self.assertLess(self.page.run("document.querySelectorAll('*').length"), 1000)
        self.page.run("trees.records.box.focus()")
        # The second time, the rows together are higher than browsers let an element be.
        for height in ("26px", "700px"):
            self.page.run(f"document.documentElement.style.setProperty('--row', '{height}'); trees.records.draw()")
            self.page.press("Home")
            self.assertEqual(self.names()[0], "root")
            self.page.press("End")
            self.assertEqual(self.names()[-1], "node 20000")
            below = self.page.run(f"{CHOSEN}.getBoundingClientRect().bottom"
                                  " - trees.records.box.getBoundingClientRect().bottom")
            self.assertLess(abs(below), 1.5)
            self.assertEqual(self.page.run(HEADING), "ztRoot node 20000")
        self.assertEqual(self.search("node 4711"), "2 found")
        self.assertEqual(self.search("node 19999"), "1 found")


if __name__ == "__main__":
    if browser.program() is None:
        print("there is no Chromium")
        sys.exit(1 if os.environ.get("CI") else 77)
    unittest.main(argv=sys.argv[:1])
