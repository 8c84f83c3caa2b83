"""Pages of composed recordings, and a browser that has them open."""
import json
import os
import pathlib
import subprocess
import tempfile
import time
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By

KMR = KMR_WITHOUT_TIME_LINE = KMR_MAKE = ""  # programs
PICTURES = pathlib.Path()


class PageTest(unittest.TestCase):
    """A browser for all tests of a class, a folder for each test."""

    @classmethod
    def setUpClass(cls):
        options = Options()
        for word in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1280,2300", "--hide-scrollbars",
                     "--disable-dev-shm-usage", "--autoplay-policy=no-user-gesture-required"):
            options.add_argument(word)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        cls.downloads = tempfile.TemporaryDirectory()
        options.add_experimental_option("prefs", {"download.default_directory": cls.downloads.name})
        cls.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        PICTURES.mkdir(parents=True, exist_ok=True)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.downloads.cleanup()

    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.folder = pathlib.Path(self.temporary.name)
        self.look("light")

    def tearDown(self):
        self.assertEqual([], self.words_in_console())
        self.assertEqual([], self.requests())
        self.temporary.cleanup()

    # --- recordings and pages

    def compose(self, name, *options):
        subprocess.run([KMR_MAKE, "--output", self.folder / name, *options], check=True, stdout=subprocess.DEVNULL)

    def page_of(self, name, status=0, program=None, options=()):
        made = subprocess.run([program or KMR, "report", *options, name, "-o", "page.html"], cwd=self.folder,
                              env={**os.environ, "TZ": "UTC0"}, stderr=subprocess.PIPE, text=True)
        self.words = made.stderr
        self.assertEqual(status, made.returncode)
        return self.folder / "page.html"

    def open(self, page):
        """Seconds until it can be used."""
        begun = time.monotonic()
        self.browser.get(page.as_uri())
        self.wait_for(lambda: self.script("return document.documentElement.hasAttribute('data-ready')"))
        return time.monotonic() - begun

    # --- the browser

    def script(self, text, *arguments):
        return self.browser.execute_script(text, *arguments)

    def wait_for(self, condition, seconds=20):
        end = time.monotonic() + seconds
        while not condition():
            self.assertLess(time.monotonic(), end, "waited too long")
            time.sleep(0.02)

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.script("return document.querySelector(arguments[0]).textContent", selector)

    def keys(self, *keys):
        ActionChains(self.browser, 0).send_keys(*keys).perform()

    def look(self, scheme, media=""):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "media": media, "features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def picture(self, name):
        self.browser.save_screenshot(str(PICTURES / (name + ".png")))

    def words_in_console(self):
        return [entry["message"] for entry in self.browser.get_log("browser")]

    def requests(self):
        """Of anything but the page's own file and what it made itself."""
        found = []
        for entry in self.browser.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                url = message["params"]["request"]["url"]
                if not (url.endswith("/page.html") and url.startswith("file://")) and url[:5] not in ("data:", "blob:"):
                    found.append(url)
        return found
