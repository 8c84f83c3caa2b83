"""Pages as a reader uses them."""
import json
import pathlib
import time

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

import pages
from pages import PageTest

# Colours of the picture of the bit rate that cover something, and whether there are other pixels at all.
COLORS = """
const from = document.querySelector('#plot canvas');
const canvas = document.createElement('canvas');
[canvas.width, canvas.height] = [from.width, from.height];
const pen = canvas.getContext('2d', {willReadFrequently: true});
pen.drawImage(from, 0, 0);
const data = pen.getImageData(0, 0, canvas.width, canvas.height).data;
const seen = new Map();
for (let i = 0; i < data.length; i += 4) {
    const color = data.slice(i, i + 4).join(' ');
    seen.set(color, (seen.get(color) || 0) + 1);
}
return [...seen].filter(([color, count]) => count > 200 && !color.endsWith(' 0')).map(([color]) => color);
"""


class SmallPageTest(PageTest):
    """75 frames of 40 ms from number 1 on; 21 is torn, 41 to 43 are missing. I-frames are 1, 26 and 51."""

    def setUp(self):
        super().setUp()
        self.compose("hit.kmr", "--demo", "--lose", "40:3", "--zero", "frame20:32")
        self.open(self.page_of("hit.kmr", 1))

    def chosen(self):
        return self.text("#frame-title").split(",")[0]

    def shown(self):
        return self.text("#window")

    def at_time(self, ms):
        """Pixels from the middle of the plot to a stream time, when the whole is shown."""
        plot = self.find("#plot")
        left = 84
        width = plot.size["width"] - left
        return left + ms / 2960 * width - plot.size["width"] / 2

    def test_tells_verdict_and_findings(self):
        self.assertEqual("damaged", self.text("#verdict"))
        self.assertEqual("hit.kmr", self.text("#name"))
        self.assertEqual("hit.kmr: damaged", self.browser.title)
        rows = self.script("return [...document.querySelectorAll('#findings tr')].map(row => row.textContent)")
        self.assertEqual(2, len(rows))
        self.assertTrue(rows[0].startswith("errorbytes-torn719 bytes are no frame"), rows)
        self.assertTrue(rows[1].startswith("warningframes-lost3 frame numbers are missing"), rows)
        self.assertEqual(["Start", "Door open"],
                         self.script("return [...document.querySelectorAll('#tags button')].map(each => each.textContent)"))

    def test_draws_the_time_line(self):
        colors = self.script(COLORS)  # I, P, damage, a gap
        self.assertGreaterEqual(len(colors), 4)
        self.picture("light")
        light = self.script("return getComputedStyle(document.body).backgroundColor")
        self.look("dark")
        dark = self.script("return getComputedStyle(document.body).backgroundColor")
        self.assertNotEqual(light, dark)
        self.wait_for(lambda: not set(colors) & set(self.script(COLORS)))
        self.assertGreaterEqual(len(self.script(COLORS)), 4)
        self.picture("dark")

    def test_zooms_and_moves(self):
        self.assertEqual("Shown: the whole, 0:00:00.000 to 0:00:02.960", self.shown())
        self.find("[data-move=closer]").click()
        self.assertEqual("Shown: 0:00:00.740 to 0:00:02.220", self.shown())
        self.find("[data-move=later]").click()
        self.assertEqual("Shown: 0:00:01.110 to 0:00:02.590", self.shown())
        self.find("[data-move=whole]").click()
        plot = self.find("#plot")
        ActionChains(self.browser).move_to_element_with_offset(plot, -200, 0).click_and_hold() \
            .move_by_offset(300, 0).release().perform()
        self.assertNotIn("the whole", self.shown())
        dragged = self.shown()
        ActionChains(self.browser).key_down(Keys.SHIFT).move_to_element(plot).click_and_hold() \
            .move_by_offset(60, 0).release().key_up(Keys.SHIFT).perform()
        self.assertNotEqual(dragged, self.shown())
        ActionChains(self.browser).move_to_element(plot).double_click().perform()
        self.assertEqual("Shown: the whole, 0:00:00.000 to 0:00:02.960", self.shown())

    def test_shows_frames_where_the_time_line_is_clicked(self):
        plot = self.find("#plot")
        ActionChains(self.browser).move_to_element_with_offset(plot, round(self.at_time(2020)), -20).click().perform()
        self.assertEqual("Frame 51", self.chosen())
        self.assertEqual("51", self.text("#frames-rows tr[aria-selected=true] td"))
        self.assertTrue(self.text("#chosen").startswith("Frame 51, 0:00:02.000, 2015-01-02 03:04:07.000, I, "))
        self.assertTrue(self.find("#cursor").is_displayed())
        # The strip of gaps: numbers 41 to 43 are missing between 1560 and 1720 ms.
        lanes = self.find("#lanes")
        ActionChains(self.browser).move_to_element_with_offset(lanes, round(self.at_time(1600)), 0).click().perform()
        self.assertEqual("Frame 44", self.chosen())
        self.assertTrue(self.text("#chosen").startswith("frames-lost: 3 frame numbers are missing before this frame: Frame 44"))

    def test_shows_the_frame_of_a_finding_and_of_a_tag(self):
        self.find("#findings tr button").click()
        self.assertEqual("Frame 22", self.chosen())
        self.assertEqual("frames-table", self.script("return document.activeElement.id"))
        self.find("#tags tr:last-child button").click()
        self.assertEqual("Frame 51", self.chosen())
        self.assertIn("DEMO CAMERA 1", self.text("#frame-user-data"))

    def test_filters_frames(self):
        def listed():
            return self.script("return [...document.querySelectorAll('#frames-rows tr')].map(row => row.cells[0].textContent)")
        self.find("#filter-type option:nth-child(2)").click()
        self.assertEqual(["1", "26", "51"], listed())
        self.assertEqual("3 of 71 frames", self.text("#frames-words"))
        self.assertEqual("4", self.find("#frames-table").get_attribute("aria-rowcount"))
        self.find("#filter-type option:nth-child(1)").click()
        self.find("#filter-gaps").click()
        self.assertEqual(["22", "44"], listed())
        self.find("#filter-class option:nth-child(4)").click()
        self.assertEqual([], listed())
        # What is chosen elsewhere is shown whatever was filtered.
        self.find("#findings tr:last-child button").click()
        self.assertEqual("71 of 71 frames", self.text("#frames-words"))

    def test_is_used_by_keys_alone(self):
        self.script("document.querySelector('#time-line').focus()")
        self.keys(Keys.END)
        self.assertEqual("Frame 75", self.chosen())
        self.keys(Keys.HOME)
        self.assertEqual("Frame 1", self.chosen())
        self.keys(Keys.ARROW_RIGHT)
        self.assertEqual("Frame 2", self.chosen())
        slider = self.find("#time-line")
        self.assertEqual("slider", slider.get_attribute("role"))
        self.assertEqual("40", slider.get_attribute("aria-valuenow"))
        self.assertTrue(slider.get_attribute("aria-valuetext").startswith("Frame 2, 0:00:00.040"))
        self.keys("+")
        self.assertNotIn("the whole", self.shown())
        self.keys("0")
        self.assertIn("the whole", self.shown())
        self.keys(Keys.ENTER, Keys.ARROW_DOWN, Keys.ARROW_DOWN)
        self.assertEqual("Frame 4", self.chosen())
        table = self.find("#frames-table")
        row = self.find("#" + table.get_attribute("aria-activedescendant"))
        self.assertEqual("5", row.get_attribute("aria-rowindex"))
        self.keys(Keys.END)
        self.assertEqual("Frame 75", self.chosen())
        self.script("document.querySelector('#go-to').focus()")
        self.keys("0:01.000", Keys.ENTER)
        self.assertEqual("Frame 26", self.chosen())

    def test_reaches_everything_with_tab(self):
        wanted = {"save-findings", "findings-scroll", "time-line", "filter-type", "filter-class", "filter-gaps",
                  "filter-user-data", "go-to", "frames-table"}
        self.script("document.body.tabIndex = -1; document.body.focus()")
        reached = set()
        for _ in range(40):
            self.keys(Keys.TAB)
            reached.add(self.script("return document.activeElement.id"))
        self.assertEqual(set(), wanted - reached)

    def test_speaks_to_screen_readers(self):
        roles = self.script("return ['header', 'nav', 'main'].map(name => document.querySelectorAll(name).length)")
        self.assertEqual([1, 1, 1], roles)
        nameless = self.script("""
            return [...document.querySelectorAll('button, input, select, section, [role=slider], [role=grid]')].filter(each =>
                !each.closest('[aria-hidden=true]') && !(each.textContent.trim() || each.getAttribute('aria-label') || each.getAttribute('aria-labelledby') ||
                  each.closest('label'))).map(each => each.outerHTML)""")
        self.assertEqual([], nameless)
        self.assertEqual("72", self.find("#frames-table").get_attribute("aria-rowcount"))
        self.assertIn("2 gaps, the largest of 3 frames; 1 place of damage; 2 tags", self.text("#time-line-words"))
        self.assertIn("bytes-torn: 719 bytes are no frame", self.text("#time-line-rows"))

    def test_saves_the_findings(self):
        self.find("#save-findings").click()
        saved = pathlib.Path(self.downloads.name) / "hit.kmr.findings.json"
        self.wait_for(saved.exists)
        self.wait_for(lambda: saved.stat().st_size > 0)
        self.assertEqual(["bytes-torn", "frames-lost"], [each["code"] for each in json.loads(saved.read_text())["findings"]])

    def test_prints_dark_on_light(self):
        self.look("dark")
        self.script("window.dispatchEvent(new Event('beforeprint'))")
        self.look("dark", "print")
        self.assertEqual("rgb(255, 255, 255)", self.script("return getComputedStyle(document.body).backgroundColor"))
        self.assertEqual("rgb(27, 35, 48)", self.script("return getComputedStyle(document.body).color"))
        self.assertFalse(self.find("#filters").is_displayed())
        # As wide as paper: what is drawn does not become narrower when it is printed.
        self.assertEqual(["680px", "680px"], self.script(
            "return ['#plot canvas', '#lanes'].map(each => document.querySelector(each).style.width)"))
        self.assertGreaterEqual(len(self.script(COLORS)), 4)
        self.picture("print")
        self.look("dark", "screen")
        self.script("window.dispatchEvent(new Event('afterprint'))")
        self.assertNotEqual("rgb(27, 35, 48)", self.script("return getComputedStyle(document.body).color"))
        self.assertNotEqual("680px", self.script("return document.querySelector('#plot canvas').style.width"))

    def test_fits_narrow_windows(self):
        self.addCleanup(self.browser.set_window_size, 1280, 2300)
        for width in (800, 400):
            self.browser.set_window_size(width, 2300)
            self.wait_for(lambda: self.script("return document.querySelector('#lanes').clientWidth < innerWidth"))
            self.assertLessEqual(self.script("return document.documentElement.scrollWidth"), width)
            cut = self.script("""return [...document.querySelectorAll('#frames-heading th')]
                .filter(each => each.scrollWidth > each.clientWidth).map(each => each.textContent)""")
            self.assertEqual([], cut)
            self.picture("narrow-%d" % width)


class HostilePageTest(PageTest):
    def test_shows_attacks_as_text(self):
        attack = "</script><img src=x onerror=document.title='hit'>"
        self.compose("<script><!--.kmr", "--frames", "30", "--tag", "0=" + attack, "--cover-word", "<svg onload=alert(1)>",
                     "--segment", "osd=" + attack)
        self.open(self.page_of("<script><!--.kmr"))
        self.find("#tags button").click()
        self.assertEqual(attack, self.text("#tags button"))
        self.assertEqual(attack, self.text("#frame-user-data dd"))
        self.assertEqual("<script><!--.kmr", self.text("#name"))
        self.assertEqual(0, self.script("return document.querySelectorAll('img, svg').length"))
        self.assertEqual("<script><!--.kmr: sound", self.browser.title)

    def test_shows_no_character_that_cannot_be_seen(self):
        self.compose("a.kmr", "--frames", "30", "--tag", "0=evil\u202etxt.exe", "--segment", "osd=\u2066here")
        self.open(self.page_of("a.kmr"))
        self.find("#tags button").click()
        self.assertEqual("evil\\u202etxt.exe", self.text("#tags button"))
        self.assertTrue(self.text("#chosen").startswith("evil\\u202etxt.exe: Frame 1, "))

    def test_saves_under_a_name_that_can_be_seen(self):
        self.compose("a\u202etxt.kmr", "--frames", "30")
        self.open(self.page_of("a\u202etxt.kmr"))
        saved = self.script("""
            let name = null;
            const click = HTMLAnchorElement.prototype.click;
            HTMLAnchorElement.prototype.click = function () { name = this.download; };
            document.querySelector('#save-findings').click();
            HTMLAnchorElement.prototype.click = click;
            return name;""")
        self.assertEqual("a\\u202etxt.kmr.findings.json", saved)

    def test_shows_what_is_no_recording(self):
        (self.folder / "notes").write_text("no recording at all")
        self.open(self.page_of("notes", 1))
        self.assertEqual("not a recording", self.text("#verdict"))
        self.assertEqual("There is no frame to draw.", self.text("#time-line-words"))
        self.assertFalse(self.find("#time-line").is_displayed())


class PlainPageTest(PageTest):
    def test_has_all_but_the_picture(self):
        self.compose("hit.kmr", "--demo", "--lose", "40:3")
        self.open(self.page_of("hit.kmr", 1, pages.KMR_WITHOUT_TIME_LINE))
        self.assertFalse(self.find("#time-line").is_displayed())
        self.assertFalse(self.find("#time-line-tools").is_displayed())
        self.assertIn("1 gap, the largest of 3 frames", self.text("#time-line-words"))
        self.find("#findings tr button").click()
        self.assertTrue(self.text("#frame-title").startswith("Frame 44, 0:00:01.720"))


class NamingPageTest(PageTest):
    """What a finding is about, wherever it stands."""

    def chosen_by_finding(self, row):
        self.find("#findings tr:nth-child(%d) button" % row).click()
        return self.text("#frame-title").split(",")[0]

    def codes(self):
        return self.script("return [...document.querySelectorAll('#findings tr')].map(row => row.cells[1].textContent)")

    def test_names_the_frame_of_an_index_record(self):
        # The size in record 1, which is of frame 26.
        self.compose("a.kmr", "--frames", "75", "--record-field", "1.VideoWidth=7")
        self.open(self.page_of("a.kmr", 1))
        self.assertEqual(["index-entry-wrong"], self.codes())
        self.assertEqual("Frame 26", self.chosen_by_finding(1))

    def test_names_the_frame_of_broken_user_data(self):
        self.compose("a.kmr", "--frames", "75", "--user-data", "30", "--segment", "osd=here", "--block-magic", "00000000")
        self.open(self.page_of("a.kmr", 1))
        self.assertEqual(["user-data-broken"], self.codes())
        self.assertEqual("Frame 31", self.chosen_by_finding(1))


class LargePageTest(PageTest):
    def test_opens_a_hundred_thousand_frames_within_seconds(self):
        self.compose("many.kmr", "--frames", "100000", "--sparse", "--lose", "40000:30", "--zero", "frame20:32",
                     "--user-data", "i-frames", "--segment", "osd=CAMERA")
        page = self.page_of("many.kmr", 1)
        self.assertLess(page.stat().st_size, 40_000_000)
        self.assertLess(self.open(page), 8)
        self.assertLess(self.script("return document.getElementsByTagName('*').length"), 30_000)
        begun = time.monotonic()
        self.script("document.querySelector('#frames-table').focus()")
        self.keys(Keys.END)
        self.assertTrue(self.text("#frame-title").startswith("Frame 100000, 1:06:39.960"))
        self.find("#filter-gaps").click()
        self.assertEqual("2 of 99\u202f969 frames", self.text("#frames-words"))
        self.find("#findings tr:last-child button").click()
        self.assertTrue(self.text("#frame-title").startswith("Frame 40031, "))
        self.assertLess(time.monotonic() - begun, 8)
        self.assertLess(self.script("return document.getElementsByTagName('*').length"), 30_000)
        self.picture("many")
