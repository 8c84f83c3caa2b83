"""Pages with a video, as it comes out of the recording."""
import pathlib
import subprocess

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

import pages
from pages import PageTest

TEST_CARD = "testsrc=size=320x240:rate=25:duration=3"
H264 = ("-c:v", "libx264", "-bf", "0", "-g", "25", "-sc_threshold", "0", "-bsf:v", "filter_units=remove_types=6", "-f", "h264")
H265 = ("-c:v", "libx265", "-x265-params", "log-level=error:bframes=0:keyint=25:scenecut=0:info=0:repeat-headers=1",
        "-f", "hevc")


class VideoPageTest(PageTest):
    """The picture of a test card, 75 frames of 40 ms from number 1 on; I-frames are 1, 26 and 51."""

    def compose_card(self, name, *options, coding=H264, card=TEST_CARD, size="320x240"):
        stream = self.folder / ("card.h265" if coding == H265 else "card.h264")
        subprocess.run(["ffmpeg", "-y", "-v", "error", "-f", "lavfi", "-i", card, "-pix_fmt", "yuv420p", *coding, stream],
                       check=True)
        self.compose(name, "--video", stream, "--size", size, *options)

    def open_with_video(self, name, status=0):
        self.open(self.page_of(name, status, options=["--video"]))
        if self.find("#video").is_displayed():
            self.wait_for(lambda: self.script("return document.querySelector('#video').readyState >= 2"))

    def time(self):
        """Milliseconds that the video stands at."""
        return self.script("return document.querySelector('#video').currentTime") * 1000

    def paused(self):
        return self.script("return document.querySelector('#video').paused")

    def play(self):
        self.script("return document.querySelector('#video').play()")

    def pause(self):
        self.script("document.querySelector('#video').pause()")

    def chosen(self):
        return self.text("#frame-title").split(",")[0]

    def cursor(self):
        return float(self.script("return document.querySelector('#cursor').style.left").removesuffix("px"))

    def click_at(self, ms):
        """On the time line, when the whole is shown."""
        plot = self.find("#plot")
        left = 84
        width = plot.size["width"] - left
        ActionChains(self.browser).move_to_element_with_offset(
            plot, round(left + ms / 2960 * width - plot.size["width"] / 2), -20).click().perform()

    def go_to(self, frame):
        box = self.find("#go-to")
        box.clear()
        box.send_keys(str(frame), Keys.ENTER)
        self.assertEqual("Frame %d" % frame, self.chosen())

    def assert_at(self, ms):
        self.assertAlmostEqual(ms, self.time(), delta=1)

    def test_plays_and_moves_the_cursor(self):
        self.compose_card("card.kmr")
        self.open_with_video("card.kmr")
        self.assertEqual([320, 240, 3], self.script(
            "const video = document.querySelector('#video'); return [video.videoWidth, video.videoHeight, Math.round(video.duration)]"))
        self.assertEqual("", self.words)
        self.play()
        self.wait_for(lambda: self.time() > 500)
        before = self.cursor()
        self.wait_for(lambda: self.time() > 1500 and self.cursor() > before)
        self.pause()
        shown = int(self.time() / 40 + 0.02) + 1
        self.wait_for(lambda: self.chosen() == "Frame %d" % shown)
        self.assertEqual(str((shown - 1) * 40), self.find("#time-line").get_attribute("aria-valuenow"))
        self.assertEqual(str(shown), self.text("#frames-rows tr[aria-selected=true] td"))

    def test_seeks_where_the_time_line_is_clicked(self):
        self.compose_card("card.kmr")
        self.open_with_video("card.kmr")
        self.click_at(2020)
        self.assertEqual("Frame 51", self.chosen())
        self.assert_at(2000)
        self.assertTrue(self.paused())
        self.find("#frames-rows tr").click()  # the first in sight
        number = int(self.text("#frames-rows tr[aria-selected=true] td"))
        self.assert_at((number - 1) * 40)
        self.play()
        self.click_at(820)  # while it plays
        self.assertFalse(self.paused())
        self.assertTrue(800 <= self.time() < 1900, self.time())
        self.wait_for(lambda: self.time() > 900)
        self.pause()

    def test_shows_the_frame_that_its_own_buttons_go_to(self):
        self.compose_card("card.kmr", "--tag", "1=here")
        self.open_with_video("card.kmr")
        self.script("document.querySelector('#video').currentTime = 0.5")
        self.wait_for(lambda: self.chosen() == "Frame 13")
        self.find("#filter-type option:nth-child(2)").click()  # what is not listed is shown on the time line all the same
        before = self.cursor()
        self.script("document.querySelector('#video').currentTime = 1.5")
        self.wait_for(lambda: self.chosen() == "Frame 38" and self.cursor() > before)
        self.find("#tags tr button").click()
        self.assert_at(1000)

    def test_knows_what_is_not_in_the_video(self):
        # Frame 21 is torn and 41 to 43 are missing, so 22 to 25 and 44 to 50 cannot be shown. The clock runs back at
        # frame 61, the video does not: that comes a millisecond behind frame 60.
        self.compose_card("hit.kmr", "--zero", "frame20:32", "--lose", "40:3", "--clock-jump", "60:-400")
        self.open_with_video("hit.kmr", 1)
        told = ("eft out 11 of 71 frames: 4 behind damage up to the next I-frame, 7 behind missing ones up to the next I-frame; ")
        self.assertIn("kmr: hit.kmr: the video in the page: l" + told, self.words)
        self.assertTrue(self.text("#video-left-out").startswith("L" + told))
        for frame, ms in ((1, 0), (20, 760), (26, 1000), (40, 1560), (51, 2000), (60, 2360), (61, 2361), (75, 2921)):
            self.go_to(frame)
            self.assert_at(ms)
            self.assertEqual("", self.text("#video-frame"))
            self.script("document.querySelector('#video').currentTime = arguments[0]", (ms + (30 if frame != 60 else 0.6)) / 1000)
            self.script("document.querySelector('#go-to').focus()")
            self.assertEqual("Frame %d" % frame, self.chosen())
        for frame, instead, ms in ((22, 20, 760), (50, 40, 1560)):
            self.go_to(frame)
            self.assert_at(ms)
            self.assertEqual("Frame %d is not in the video; it shows frame %d." % (frame, instead), self.text("#video-frame"))
        self.find("#findings tr button").click()  # the frame behind the torn bytes
        self.assertEqual("Frame 22", self.chosen())
        self.assert_at(760)
        self.picture("video")
        self.look("dark")
        self.picture("video-dark")

    def test_saves_the_same_file_as_extract(self):
        self.compose_card("large.kmr", card="testsrc=size=640x480:rate=25:duration=2,noise=alls=90:allf=t",
                          coding=("-c:v", "libx264", "-preset", "ultrafast", "-crf", "10", *H264[2:]), size="640x480")
        subprocess.run([pages.KMR, "extract", "large.kmr", "-o", "large.mp4"], cwd=self.folder, check=True)
        expected = (self.folder / "large.mp4").read_bytes()
        self.assertGreater(len(expected), 12 << 20)  # more than one block of the page
        self.open_with_video("large.kmr")
        self.assertEqual(0, self.script("return document.querySelectorAll('script[type=\"text/plain\"]').length"))
        self.assertEqual(expected, self.saved("large.kmr.mp4"))

    def saved(self, name):
        self.find("#video-save").click()
        saved = pathlib.Path(self.downloads.name) / name
        self.wait_for(saved.exists)
        return saved.read_bytes()

    def test_offers_what_a_browser_does_not_play(self):
        self.compose_card("card.kmr", coding=H265)
        self.open_with_video("card.kmr")
        self.assertFalse(self.find("#video").is_displayed())
        self.assertTrue(self.text("#video-words").startswith("This browser does not play H.265."))
        subprocess.run([pages.KMR, "extract", "card.kmr", "-o", "card.mp4"], cwd=self.folder, check=True)
        self.assertEqual((self.folder / "card.mp4").read_bytes(), self.saved("card.kmr.mp4"))
        self.click_at(2020)
        self.assertEqual("Frame 51", self.chosen())

    def test_is_not_there_where_it_takes_too_much(self):
        self.compose_card("card.kmr", card="testsrc=size=640x480:rate=25:duration=2,noise=alls=90:allf=t",
                          coding=("-c:v", "libx264", "-preset", "ultrafast", "-crf", "10", *H264[2:]), size="640x480")
        self.open(self.page_of("card.kmr", 1, options=["--video=4"]))
        self.assertFalse(self.find("#video-part").is_displayed())
        self.assertRegex(self.words, r"^kmr: card.kmr: no video in the page: it takes \d+ MiB, more than 4 \(--video=\d+ lets it in\)\n$")
