"""The time line under fingers."""
import time

from pages import PageTest


class TouchPageTest(PageTest):
    """75 frames of 40 ms from number 1 on, on a telephone."""

    def setUp(self):
        super().setUp()
        self.emulate("setTouchEmulationEnabled", enabled=True, maxTouchPoints=5)
        self.emulate("setDeviceMetricsOverride", width=400, height=800, deviceScaleFactor=2, mobile=True)
        self.compose("a.kmr", "--demo")
        self.open(self.page_of("a.kmr"))
        self.script("document.querySelector('#time-line').scrollIntoView({block: 'center'})")

    def tearDown(self):
        self.emulate("setTouchEmulationEnabled", enabled=False)
        self.emulate("clearDeviceMetricsOverride")
        super().tearDown()

    def emulate(self, name, **parameters):
        self.browser.execute_cdp_cmd("Emulation." + name, parameters)

    def fingers(self, event, *places):
        """At pixels from the middle of the plot."""
        left, top = self.script("""const area = document.querySelector('#plot').getBoundingClientRect();
            return [area.left + area.width / 2, area.top + area.height / 2]""")
        self.browser.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": event, "touchPoints": [
            {"x": left + x, "y": top + y, "id": finger} for finger, (x, y) in enumerate(places)]})

    def tap(self):
        self.fingers("touchStart", (40, 0))
        self.fingers("touchEnd")

    def swipe(self, *ways):
        """One finger for each way, in ten steps; a page that scrolls takes its place along."""
        self.fingers("touchStart", *[begin for begin, _ in ways])
        for step in range(1, 11):
            self.fingers("touchMove", *[[begin[i] + (end[i] - begin[i]) * step / 10 for i in (0, 1)] for begin, end in ways])
            time.sleep(0.02)
        self.fingers("touchEnd")

    def shown(self):
        return self.text("#window")

    def zoom_in(self):
        self.swipe(((20, 0), (-20, 0)), ((60, 0), (100, 0)))
        self.wait_for(lambda: "the whole" not in self.shown())

    def test_chooses_the_frame_under_a_tap(self):
        self.tap()
        self.wait_for(lambda: self.text("#frame-title").startswith("Frame "))
        self.assertTrue(self.find("#cursor").is_displayed())

    def test_zooms_under_two_fingers_and_moves_under_one(self):
        self.zoom_in()
        before = self.shown()
        self.swipe(((60, 0), (20, 0)))
        self.wait_for(lambda: self.shown() != before)

    def test_shows_nothing_beyond_the_recording(self):
        self.swipe(((60, 0), (-60, 0)))
        self.assertEqual("Shown: the whole, 0:00:00.000 to 0:00:02.960", self.shown())
        self.zoom_in()
        for _ in range(4):
            self.swipe(((100, 0), (-100, 0)))
        self.wait_for(lambda: self.shown().endswith(" to 0:00:02.960"))
        self.tap()
        self.tap()
        self.wait_for(lambda: self.shown() == "Shown: the whole, 0:00:00.000 to 0:00:02.960")

    def test_scrolls_the_page(self):
        before = self.script("return scrollY")
        self.swipe(((40, 60), (40, -60)))
        self.wait_for(lambda: self.script("return scrollY") > before)
        self.assertEqual("No frame is chosen", self.text("#frame-title"))
