#!/usr/bin/python3
"""Uses the page of "tarsel try" in a headless Chromium, as somebody with a mouse and somebody with keys alone do.

usage: page_test.py PROGRAM   with options of unittest behind it
"""

import base64
import pathlib
import shlex
import subprocess
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver import ActionChains, Keys
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

PATIENCE = 60


def run(*words, **options):
    return subprocess.run(words, check=True, capture_output=True, **options).stdout


class Page(unittest.TestCase):
    program = "tarsel"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        run("ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=320x180:r=25:d=2", "-f", "lavfi", "-i", "sine=d=2",
            "-pix_fmt", "yuv420p", "-c:v", "ffv1", "-c:a", "pcm_s16le", self.folder / "film.mkv")
        (self.folder / "made").mkdir()
        self.tool = subprocess.Popen([self.program, "try", "film.mkv", "--out", "made", "--no-browser"], cwd=self.folder,
                                     stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.end_tool)

        options = webdriver.ChromeOptions()
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1280,1000"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.browser = webdriver.Chrome(options=options)
        self.addCleanup(self.browser.quit)
        self.browser.get(self.tool.stdout.readline().strip())
        self.wait(lambda: self.browser.find_element(By.CSS_SELECTOR, "body[data-ready]"))
        self.wait(lambda: self.count_shown("before") > 0 and self.count_shown("after") > 0)

    def end_tool(self):
        self.tool.terminate()
        self.tool.wait()
        self.tool.stdout.close()

    def tearDown(self):
        wrong = [line["message"] for line in self.browser.get_log("browser") if line["level"] == "SEVERE"]
        self.assertEqual(wrong, [])

    def wait(self, condition):
        return WebDriverWait(self.browser, PATIENCE).until(lambda _: condition())

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def count_shown(self, which):
        return int(self.find(f"#{which}").get_attribute("data-shown") or 0)

    def changing(self, action):
        """Does something that changes the frame after, and waits for that."""
        shown = self.count_shown("after")
        action()
        self.wait(lambda: self.count_shown("after") > shown and self.find("#busy").text == "")

    def type_words(self, words):
        self.find("#query").send_keys(words)
        self.wait(lambda: self.browser.find_elements(By.CSS_SELECTOR, "#found [role=option]"))
        self.find("#query").send_keys(Keys.ENTER)

    def add(self, words):
        self.changing(lambda: self.type_words(words))

    @staticmethod
    def retype(box, text):
        box.send_keys(Keys.CONTROL + "a")
        box.send_keys(text)

    def steps(self):
        return [each.text for each in self.browser.find_elements(By.CSS_SELECTOR, "#steps h3")]

    def read_frame(self, which="after"):
        """Pixels as the canvas has them, RGBA."""
        text = self.browser.execute_script(
            "const canvas = document.getElementById(arguments[0]);"
            "const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);"
            "let text = ''; for (let i = 0; i < data.length; i += 8192)"
            " text += String.fromCharCode(...data.subarray(i, i + 8192)); return btoa(text);", which)
        return base64.b64decode(text)

    def preview(self, *effects):
        words = [word for effect in effects for word in ("-e", effect)]
        run(self.program, "preview", "film.mkv", "look.png", "--overwrite", "--style", "after", *words, cwd=self.folder)
        return run("ffmpeg", "-v", "error", "-i", self.folder / "look.png", "-vf", "crop=320:180:4:in_h-184",
                   "-pix_fmt", "rgba", "-f", "rawvideo", "-")

    def test_edits_by_mouse(self):
        self.add("soft")
        self.assertEqual(self.steps(), ["blur"])
        slider = self.find("input[aria-label='blur: sigma']")
        place = ActionChains(self.browser).click_and_hold(slider)
        self.changing(lambda: place.move_by_offset(30, 0).release().perform())
        sigma = self.find("input[aria-label='blur: sigma, typed']").get_attribute("value")
        self.assertGreater(float(sigma), 1)
        self.assertEqual(self.read_frame(), self.preview(f"blur sigma={sigma}"))
        self.assertIn(f"-e 'blur sigma={sigma}'", self.find("#command").text)

        self.add("negate")
        self.assertEqual(self.read_frame(), self.preview(f"blur sigma={sigma}", "negate"))
        drag = ActionChains(self.browser).drag_and_drop(self.find("#steps li:last-child .handle"),
                                                        self.find("#steps li:first-child .head"))
        self.changing(drag.perform)
        self.assertEqual(self.steps(), ["negate", "blur"])
        self.changing(self.find("#undo").click)
        self.changing(lambda: self.find("#steps li:first-child .remove").click())
        self.assertEqual(self.steps(), ["negate"])
        self.changing(self.find("#undo").click)
        self.assertEqual(self.steps(), ["blur", "negate"])
        for expected in (["blur"], ["blur"]):  # the drag is undone at once
            self.changing(self.find("#undo").click)
            self.assertEqual(self.steps(), expected)
        self.assertEqual(self.find("input[aria-label='blur: sigma, typed']").get_attribute("value"), "0")
        self.changing(self.find("#redo").click)
        self.assertEqual(self.read_frame(), self.preview(f"blur sigma={sigma}"))

    def test_works_by_keys_alone(self):
        self.add("negate")
        self.add("blur")
        self.assertEqual(self.browser.switch_to.active_element.get_attribute("aria-label"), "Move step 2, blur: arrow keys")
        self.changing(lambda: self.browser.switch_to.active_element.send_keys(Keys.ARROW_UP))
        self.assertEqual(self.steps(), ["blur", "negate"])
        self.assertEqual(self.browser.switch_to.active_element.get_attribute("aria-label"), "Move step 1, blur: arrow keys")

        sigma = self.find("input[aria-label='blur: sigma, typed']")
        self.changing(lambda: self.retype(sigma, "2"))
        self.assertEqual(self.read_frame(), self.preview("blur sigma=2", "negate"))
        self.changing(lambda: self.find("#steps li:last-child [data-part=switch]").send_keys(Keys.SPACE))
        self.assertEqual(self.read_frame(), self.preview("blur sigma=2"))
        self.find("#divider").send_keys(Keys.END)
        self.assertEqual(self.find("#divider").get_attribute("aria-valuenow"), "100")

    def test_says_what_is_wrong(self):
        self.add("blur")
        sigma = self.find("input[aria-label='blur: sigma, typed']")
        self.retype(sigma, "9999")
        self.wait(lambda: "0 to 1024" in self.find("#steps .error").text)
        self.changing(self.find("button[aria-label='Reset blur: sigma']").click)
        self.wait(lambda: self.find("#steps .error").text == "")
        self.wait(lambda: "Does nothing" in self.find("#steps .note").text)
        self.browser.get_log("browser")  # in which the refusal is

    def test_writes_the_film(self):
        self.add("black and white")
        self.type_words("echo")
        self.wait(lambda: "-e echo" in self.find("#command").text)
        self.find("#name").clear()
        self.find("#name").send_keys("a.mkv")
        self.find("#write").click()
        self.wait(lambda: "Wrote made/a.mkv: 50 frames" in self.find("#outcome").text)
        self.assertIn("a.mkv", self.find("#command").text)
        command = shlex.split(self.find("#command").text)
        command[0], command[3] = self.program, "b.mkv"
        run(*command, cwd=self.folder)
        hashes = [run("ffmpeg", "-v", "error", "-i", self.folder / name, "-f", "framemd5", "-")
                  for name in ("made/a.mkv", "b.mkv")]
        self.assertEqual(*hashes)

    def test_every_effect_has_controls(self):
        fits = "return document.documentElement.scrollWidth <= document.documentElement.clientWidth"
        self.find("#query").click()
        count = len(self.browser.find_elements(By.CSS_SELECTOR, "#found [role=option]"))
        self.assertGreater(count, 30)
        self.browser.set_window_size(420, 900)
        for index in range(count):
            self.find("#query").click()
            self.browser.find_elements(By.CSS_SELECTOR, "#found [role=option]")[index].click()
            self.assertTrue(self.browser.execute_script(fits), self.steps())
            # Whatever can be used has a name for those who do not see it.
            unnamed = self.browser.execute_script(
                "return [...document.querySelectorAll('input, select, button')].filter((each) =>"
                " !each.ariaLabel && !each.closest('label') && each.textContent.trim() === '').map((each) => each.outerHTML)")
            self.assertEqual(unnamed, [])
            self.find("#steps .remove").click()


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    Page.program = str(pathlib.Path(sys.argv.pop(1)).absolute())
    unittest.main()
