"""What can be read of a page, however it is looked at."""
from selenium.webdriver.common.action_chains import ActionChains

from pages import PageTest

# Cells of the table of frames that do not show all that they hold; user data is shown whole below the table.
CUT = """return [...document.querySelectorAll('#frames-table th, #frames-table td')]
    .filter(each => each.scrollWidth > each.clientWidth && !each.matches('td.user_data')).map(each => each.textContent)"""


class SightPageTest(PageTest):
    def test_shows_numbers_of_ten_digits_whole(self):
        # Numbers and stamps of a recorder that has run for long, and a leap of 11 days.
        self.compose("a.kmr", "--frames", "60", "--first-number", "3999999990", "--first-stamp", "3000000000",
                     "--clock-jump", "50:1000000000")
        self.open(self.page_of("a.kmr", 1))
        self.find("#findings button").click()
        self.assertEqual("4000002000", self.text("#frames-rows tr[aria-selected=true] .stamp"))
        self.assertEqual("1000000040", self.text("#frames-rows tr[aria-selected=true] .delay_ms"))
        self.assertEqual([], self.script(CUT))
        tiles = self.script("""return [...document.querySelectorAll('#summary dd')]
            .map(each => [each.getBoundingClientRect().left, each.firstChild]).map(([left, text]) => {
                const range = document.createRange();
                range.selectNode(text);
                return [left, range.getBoundingClientRect().right];
            })""")
        for (_, end), (begin, _) in zip(tiles, tiles[1:]):
            self.assertLess(end, begin)

    def test_prints_numbers_whole(self):
        self.compose("a.kmr", "--demo", "--first-stamp", "3000000000")
        self.open(self.page_of("a.kmr"))
        self.addCleanup(self.browser.set_window_size, 1280, 2300)
        self.browser.set_window_size(720, 2300)  # of a sheet of paper
        self.look("light", "print")
        self.assertEqual([], self.script(CUT))
        self.assertLessEqual(self.find("#frames-table").size["width"], 720)

    def test_keeps_what_says_something_in_colors_of_the_user(self):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "forced-colors", "value": "active"}]})
        self.compose("a.kmr", "--demo")
        self.open(self.page_of("a.kmr"))
        self.find("#tags button").click()
        paper, cursor, i_frames, row, other = self.script("""
            return ['body', '#cursor', '.swatch.i-frames', '#frames-rows tr[aria-selected=true] td',
                    '#frames-rows tr[aria-selected=false] td']
                .map(each => getComputedStyle(document.querySelector(each)).backgroundColor)""")
        self.assertNotIn(paper, (cursor, i_frames))
        self.assertNotEqual(other, row)

    def test_fits_a_window_of_320_pixels(self):
        self.addCleanup(self.browser.execute_cdp_cmd, "Emulation.clearDeviceMetricsOverride", {})
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                     {"width": 320, "height": 2300, "deviceScaleFactor": 1, "mobile": False})
        self.compose("a.kmr", "--demo")
        self.open(self.page_of("a.kmr"))
        self.assertEqual(320, self.script("return document.documentElement.scrollWidth"))
        self.assertEqual([], self.script("""return [...document.querySelectorAll('.legend span, .tiles dd, .title *')]
            .filter(each => each.getBoundingClientRect().right > document.querySelector('main').getBoundingClientRect().right)
            .map(each => each.textContent)"""))
        self.picture("narrow-320")

    def test_draws_damage_that_is_not_listed(self):
        # Every tenth frame from the fifth on is torn: 120, of which a hundred are listed.
        self.compose("a.kmr", "--frames", "1200", *[each for frame in range(5, 1200, 10) for each in ("--zero", "frame%d:32" % frame)])
        self.open(self.page_of("a.kmr", 1))
        self.assertTrue(self.text("#findings-words").startswith("100 findings, and 20 more"))
        self.assertIn("; 120 places of damage; ", self.text("#time-line-words"))
        self.assertTrue(self.text("#time-line-words").endswith(
            " Of what is not listed, gaps, torn bytes and damaged frames alone are drawn."))
        # Frame 1195 of 1200, the last one that is torn: its number is 1196, and that of the one behind 1197.
        lanes = self.find("#lanes")
        left = 84
        x = left + 1195 * 40 / 47960 * (lanes.size["width"] - left)
        ActionChains(self.browser).move_to_element_with_offset(lanes, round(x - lanes.size["width"] / 2), -20).click().perform()
        self.assertTrue(self.text("#frame-title").startswith("Frame 1197, "))
        self.assertEqual("1\u202f032 bytes are no frame", self.text("#frame-event"))

    def test_tells_what_was_pointed_at(self):
        self.compose("a.kmr", "--demo", "--lose", "40:3")
        self.open(self.page_of("a.kmr", 1))
        self.find("#findings button").click()
        self.assertEqual("frames-lost: 3 frame numbers are missing before this frame", self.text("#frame-event"))
        self.find("#tags tr:last-child button").click()
        self.assertEqual("Door open", self.text("#frame-event"))
        self.find("#frames-rows tr").click()
        self.assertEqual("", self.text("#frame-event"))

    def test_writes_tags_where_they_have_room(self):
        # What is drawn, as the page asks for it to be written.
        self.compose("a.kmr", "--frames", "75", "--tag", "0=Start", "--tag", "1=A door that has been open for a long time, and is still")
        page = self.page_of("a.kmr")
        self.browser.get("about:blank")
        script = self.browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": """
            window.written = [];
            const write = CanvasRenderingContext2D.prototype.fillText;
            CanvasRenderingContext2D.prototype.fillText = function (text, ...place) {
                window.written.push(text);
                return write.call(this, text, ...place);
            };"""})
        self.addCleanup(self.browser.execute_cdp_cmd, "Page.removeScriptToEvaluateOnNewDocument", script)
        self.open(page)
        written = self.script("return window.written")
        self.assertIn("Start", written)
        self.assertIn("A door that has been open for a long time, and is still", written)
        self.browser.set_window_size(500, 2300)
        self.addCleanup(self.browser.set_window_size, 1280, 2300)
        self.wait_for(lambda: any(each.startswith("A door") and each.endswith("\u2026") for each in self.script("return window.written")))
