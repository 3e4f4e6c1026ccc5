#!/usr/bin/env python3
"""Opens the pages of the program in a browser: nothing is fetched or executed, the data are those of --json, the
values shown are those of the data, plots and clouds answer to pointer and keyboard, and no page is wider than its
window. Ends with 77 where there is no browser, no driver, or no selenium.

usage: browser_test.py KVMEASURE SCRATCH_FOLDER
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest


def skip(reason):
    print("skipped:", reason)
    sys.exit(77)


try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError as error:
    skip(f"{error} (Debian's python3-selenium)")
for program in ("chromium", "chromedriver"):
    if not shutil.which(program):
        skip(f"no {program} (Debian's chromium and chromium-driver)")

KVMEASURE, FOLDER = os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2]).absolute()
LIBRARIES = pathlib.Path("/usr/share/javascript")
HOSTILE = "</script><script>window.hit = 1</script><img src=x onerror=\"window.hit = 1\">'&amp;\n\u4e2d\u6587 \u0430\u0431\u0432"
OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--enable-unsafe-swiftshader", "--disable-dev-shm-usage",
           "--disable-background-networking", "--disable-component-update", "--disable-sync", "--no-first-run",
           "--window-size=1200,900"]

# The least contrast of all texts that are seen, with the text: 4.5 is what WCAG 2.1 asks for.
CONTRAST = """
const channels = (colour) => colour.match(/[\\d.]+/g).map(Number);
const light = (c) => [0.2126, 0.7152, 0.0722].reduce((sum, weight, i) => {
    const part = c[i] / 255;
    return sum + weight * (part <= 0.03928 ? part / 12.92 : Math.pow((part + 0.055) / 1.055, 2.4));
}, 0);
let least = [99, ''];
const walk = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (walk.nextNode()) {
    const parent = walk.currentNode.parentElement;
    if (!walk.currentNode.textContent.trim() || !parent.getClientRects().length || parent.closest('svg, script, style')) continue;
    let ground = [255, 255, 255], opacity = 1;
    for (let at = parent; at; at = at.parentElement) {
        const own = channels(getComputedStyle(at).backgroundColor);
        if (own.length === 3 || own[3] === 1) { ground = own; break; }
    }
    for (let at = parent; at; at = at.parentElement) opacity *= Number(getComputedStyle(at).opacity);
    const ink = channels(getComputedStyle(parent).color).slice(0, 3).map((c, i) => opacity * c + (1 - opacity) * ground[i]);
    const [a, b] = [light(ink), light(ground)].sort((x, y) => y - x);
    const contrast = (a + 0.05) / (b + 0.05);
    if (contrast < least[0]) least = [contrast, walk.currentNode.textContent.trim()];
}
return least;
"""


def run(*words, codes=(0,)):
    done = subprocess.run([KVMEASURE, *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8")
    assert done.returncode in codes, (words[:3], done.returncode, done.stderr[:1000])
    return done.stdout


def run_json(*words, codes=(0, 1)):
    return json.loads(run(*words, "--json", codes=codes))


def values_of(profile):
    """The values of the best assignment; none where the template is not found."""
    return profile["assignments"][0]["measurements"] if profile["found"] else []


def make_pages():
    """All pages, and the data that each has to hold."""
    def simulate(name, *more):
        run("simulate", "profile", "--shape", "v-groove", "--from", "-20", "--to", "20", "--noise", "0.02", "--out", name, *more)

    data = {}
    simulate("good.csv")
    run("teach", "good.csv", "--longest", "4", "--length-tolerance", "60%", "--out", "groove.json", "--measure",
        "depth = shift 0.end 1.end -90 : 6 +- 0.2; opening = shift 0.end 3.start 0 : 12 +- 0.1")
    data["part"] = run_json("match", "good.csv", "--template", "groove.json", "--report", "part.html")
    batch = [f"batch{i:02}.csv" for i in range(24)]
    for i, name in enumerate(batch):
        simulate(name, "--seed", str(i + 1), "--dimensions", f"depth={6.15 if i == 20 else 6 + 0.01 * (i % 3)}")
    run("simulate", "profile", "--shape", "step", "--out", batch[5])  # does not hold the template
    data["batch"] = run_json("match", *batch, "--template", "groove.json", "--stats", "--report", "batch.html")
    run("simulate", "scan", "--noise", "0.02", "--out", "scan.ply")
    data["scan"] = run_json("view", "scan.ply", "--out", "scan.html")
    run("simulate", "scan", "--noise", "0.02", "--rows", "60", "--out", "plate.kvs")
    data["stack"] = run_json("measure", "plate.kvs", "--region", "R = x -15..0", "--measure", "top = mean in R : 75 +- 0.02",
                             "--report", "stack.html")
    run("simulate", "pass", "--wheelsets", "2", "--breakouts", "1", "--seed", "3", "--spacing", "30", "--out", "train")
    data["train"] = run_json("wheels", "pass", "train", "--no-pictures", "--report", "train.html")
    run("calibrate", "simulate", "flat.raw", "--noise", "0.05")
    run("calibrate", "build", "flat.raw", "scanner.tbl", "--truth", "flat.raw.truth.json")
    data["calibration"] = run_json("calibrate", "check", "scanner.tbl", "--truth", "flat.raw.truth.json", "--limit", "20",
                                   "--report", "calibration.html")
    make_hostile_pages(data)
    return data


def make_hostile_pages(data):
    names = [HOSTILE.replace("/", "\u2215")[:90] + f"{i}.csv" for i in range(2)]
    for name in names:
        shutil.copy("good.csv", name)
    plan = json.loads(pathlib.Path("groove.json").read_text(encoding="utf-8"))
    plan["name"] = HOSTILE
    pathlib.Path("hostile.json").write_text(json.dumps(plan), encoding="utf-8")
    data["hostile"] = run_json("match", *names, "--template", "hostile.json", "--report", "hostile.html")
    many = "; ".join(f"value_{i:03} = max in R : 0 +- 0.2" for i in range(200))
    data["many"] = run_json("measure", "good.csv", names[0], "--region", "R = all", "--measure", many, "--report", "many.html")
    nothing = ["--region", "R = x 500..600", "--measure", "top = max in R : 0 +- 1"]
    data["invalid"] = run_json("measure", *(f"batch{i:02}.csv" for i in range(24)), *nothing, "--report", "invalid.html")
    data["missing"] = run_json("match", "batch05.csv", "--template", "groove.json", "--report", "missing.html")


class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(FOLDER, ignore_errors=True)
        FOLDER.mkdir(parents=True)
        os.chdir(FOLDER)
        cls.data = make_pages()
        cls.profile = tempfile.TemporaryDirectory()
        options = webdriver.ChromeOptions()
        options.binary_location = shutil.which("chromium")
        for option in OPTIONS + [f"--user-data-dir={cls.profile.name}"]:
            options.add_argument(option)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        cls.browser = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.profile.cleanup()

    def open(self, page, width=1200, scheme="light"):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                     {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                     {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})
        self.browser.get((FOLDER / f"{page}.html").as_uri())

    def js(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def rows(self, heading):
        """The table under a heading, as a list of dicts by its columns."""
        head, *rows = self.js("""
            const heading = Array.from(document.querySelectorAll('h2')).find((each) => each.textContent.startsWith(arguments[0]));
            return Array.from(heading.nextElementSibling.querySelectorAll('tr'), (row) => Array.from(row.cells, (cell) => cell.textContent));
            """, heading)
        return [dict(zip(head, row)) for row in rows]

    def told(self):
        return self.js("return document.getElementById('told').textContent")

    def shown_range(self):
        return [float(each) for each in self.js("return document.getElementById('trend').dataset.range").split()]

    def test_pages_fetch_nothing_and_fit_their_windows(self):
        self.browser.get_log("performance")
        for page in self.data:
            for width, scheme in ((1200, "light"), (400, "dark")):
                with self.subTest(page=page, width=width, scheme=scheme):
                    self.open(page, width, scheme)
                    self.assertLessEqual(self.js("return document.documentElement.scrollWidth"), width)
                    contrast, text = self.js(CONTRAST)
                    self.assertGreaterEqual(contrast, 4.5, text)
                    self.assertIsNone(self.js("return window.hit || null"))
                    self.assertEqual([entry for entry in self.browser.get_log("browser")
                                      if entry["source"] != "rendering"], [], "the console is empty")
        messages = [json.loads(entry["message"])["message"] for entry in self.browser.get_log("performance")]
        fetched = {message["params"]["request"]["url"] for message in messages if message["method"] == "Network.requestWillBeSent"}
        own = tuple((FOLDER / f"{page}.html").as_uri() for page in self.data) + ("data:",)
        self.assertGreaterEqual(len(fetched), len(self.data))
        self.assertEqual([url for url in fetched if not url.startswith(own)], [])

    def test_pages_hold_the_data_of_json(self):
        for page, expected in self.data.items():
            with self.subTest(page=page):
                self.open(page)
                self.assertEqual(json.loads(self.js("return document.getElementById('results').textContent")), expected)

    def test_a_part_shows_its_values(self):
        self.open("part")
        values = values_of(self.data["part"]["profiles"][0])
        rows = self.rows("Results")
        self.assertEqual(len(rows), 2)
        for row, value in zip(rows, values):
            self.assertEqual((row["value"], row["verdict"]), (value["name"], "good"))
            self.assertAlmostEqual(float(row["measured"]), value["value"], delta=5.1e-5)
            self.assertAlmostEqual(float(row["U (k = 2)"]), value["U"], delta=5.1e-5)
        self.assertIn("\u2713 GOOD", self.browser.find_element(By.ID, "verdict").text)

    def test_a_batch_shows_statistics_and_profiles(self):
        self.open("batch")
        self.assertIn("\u2717 NOT GOOD: 1 of 24", self.browser.find_element(By.ID, "verdict").text)
        depths = [values_of(profile)[0]["value"] for profile in self.data["batch"]["profiles"] if profile["found"]]
        row = self.rows("Results")[0]
        self.assertEqual((row["verdict"], row["count"]), ("NOT MEASURED: 1", "23"))
        self.assertAlmostEqual(float(row["mean"]), sum(depths) / 23, delta=5.1e-5)
        profiles = self.rows("Profiles")
        self.assertEqual([float(each["depth, mm"]) for each in profiles if each["verdict"] == "good"],
                         [float(f"{depth:.4f}") for depth in depths])
        self.assertEqual(profiles[5]["depth, mm"], "-")
        self.assertGreaterEqual(int(self.rows("Control charts")[0]["signals"]), 1)
        self.assertGreater(float(self.rows("Capability")[0]["Cpk"]), 0)

    def test_a_train_shows_its_wheels(self):
        self.open("train")
        for wheelset in self.data["train"]["wheelsets"]:
            for side in ("left", "right"):
                wheel = wheelset[side]
                row = next(each for each in self.rows("Wheels by axle")
                           if (each["wheelset"], each["side"]) == (str(wheelset["wheelset"]), side))
                self.assertEqual(row["verdict"] == "DEFECT", wheel["defect"])
                value, expanded = (float(part) for part in row["flange height"].split(" \u00b1 "))
                self.assertAlmostEqual(value, wheel["flangeHeight"], delta=5.1e-4)
                self.assertAlmostEqual(expanded, wheel["uncertainties"]["flangeHeight"]["U"], delta=5.1e-4)
        summary = self.browser.find_elements(By.CSS_SELECTOR, "details:not([open]) > summary")[0]
        summary.send_keys(Keys.ENTER)
        self.assertTrue(self.js("return arguments[0].parentElement.open", summary))

    def test_a_calibration_shows_its_deviations(self):
        self.open("calibration")
        self.assertTrue(self.data["calibration"]["good"])
        rms = self.data["calibration"]["z"]["rms"] * 1000
        self.assertAlmostEqual(float(self.rows("Deviations of Z")[0]["RMS"]), rms, delta=5.1e-3)
        self.assertIn(f"{rms:.2f}", self.browser.find_element(By.ID, "verdict").text)

    def test_missing_results_say_so(self):
        self.open("invalid")
        self.assertEqual({row["verdict"] for row in self.rows("Profiles")}, {"NOT MEASURED: top, top.at"})
        self.open("missing")
        self.assertIn("NOT GOOD: 1 of 1", self.browser.find_element(By.ID, "verdict").text)
        self.open("many")
        self.assertEqual(len(self.rows("Results")), 400, "200 tools, each with its place")
        self.open("hostile")
        self.assertEqual(self.js("return document.querySelector('h1').textContent"), HOSTILE)

    @unittest.skipUnless((LIBRARIES / "dygraphs").exists(), "no dygraphs (Debian's libjs-dygraphs)")
    def test_the_plot_answers_to_pointer_and_keyboard(self):
        self.open("batch")
        trend, choice = self.browser.find_element(By.ID, "trend"), self.browser.find_element(By.ID, "choice")
        whole = self.shown_range()
        keys = ActionChains(self.browser)
        self.js("arguments[0].focus()", trend)
        keys.send_keys(Keys.ARROW_RIGHT, Keys.ARROW_RIGHT).perform()
        depth = values_of(self.data["batch"]["profiles"][1])[0]["value"]
        told = re.fullmatch(r"profile 2 \(batch01.csv\): depth ([\d.]+) mm", self.told())
        self.assertAlmostEqual(float(told.group(1)), depth, delta=1e-6 * depth)
        for _ in range(4):
            ActionChains(self.browser).send_keys(Keys.ARROW_RIGHT).perform()
        self.assertEqual(self.told(), "profile 6 (batch05.csv): depth -")
        ActionChains(self.browser).send_keys("+").perform()
        self.assertLess(self.shown_range()[1] - self.shown_range()[0], 0.6 * (whole[1] - whole[0]))
        ActionChains(self.browser).send_keys(Keys.HOME).perform()
        self.assertEqual(self.shown_range(), whole)
        ActionChains(self.browser).move_to_element_with_offset(trend, -100, 0).click_and_hold().move_by_offset(150, 0).release().perform()
        self.assertLess(self.shown_range()[1] - self.shown_range()[0], 0.6 * (whole[1] - whole[0]))
        self.browser.find_element(By.ID, "whole").click()
        self.assertEqual(self.shown_range(), whole)
        choice.send_keys(Keys.ARROW_DOWN)
        self.assertIn("opening", self.js("return document.querySelector('#histogram svg').getAttribute('aria-label')"))
        self.js("arguments[0].focus()", trend)
        ActionChains(self.browser).send_keys(Keys.HOME, Keys.ARROW_RIGHT).perform()
        self.assertIn("opening", self.told())

    @unittest.skipUnless((LIBRARIES / "three").exists(), "no three.js (Debian's libjs-three)")
    def test_the_cloud_turns(self):
        self.open("stack")
        self.assertEqual(len(self.browser.find_elements(By.CLASS_NAME, "cloud")), 1)
        self.open("scan")
        cloud = self.browser.find_element(By.CLASS_NAME, "cloud")
        WebDriverWait(self.browser, 30).until(lambda _: cloud.get_attribute("data-turn") or not cloud.is_displayed())
        if not cloud.is_displayed():
            self.assertTrue(self.browser.find_element(By.CLASS_NAME, "without").is_displayed())
            self.skipTest("this browser has no WebGL")
        # Points of both planes of the plate, and the ground between them.
        colours = self.js("""
            const canvas = document.querySelector('.cloud canvas'), copy = document.createElement('canvas');
            copy.width = canvas.width; copy.height = canvas.height;
            const context = copy.getContext('2d');
            context.drawImage(canvas, 0, 0);
            const bytes = context.getImageData(0, 0, copy.width, copy.height).data, counts = { dark: 0, bright: 0, none: 0 };
            for (let i = 0; i < bytes.length; i += 4) counts[bytes[i + 3] === 0 ? 'none' : bytes[i] > 180 ? 'bright' : 'dark'] += 1;
            return counts;
            """)
        self.assertTrue(all(count > 500 for count in colours.values()), colours)
        state = lambda name: float(cloud.get_attribute(f"data-{name}"))
        turn, zoom = state("turn"), state("zoom")
        cloud.send_keys(Keys.ARROW_LEFT)
        self.assertAlmostEqual(state("turn"), turn - 0.1, places=3)
        cloud.send_keys("+")
        self.assertGreater(state("zoom"), zoom)
        ActionChains(self.browser).move_to_element(cloud).click_and_hold().move_by_offset(50, 0).release().perform()
        self.assertAlmostEqual(state("turn"), turn + 0.4, delta=0.02)
        self.browser.find_element(By.CSS_SELECTOR, "button[data-key=Home]").click()
        self.assertEqual((state("turn"), state("zoom")), (turn, zoom))

    def test_paper_has_what_the_page_has(self):
        run("match", *(f"batch{i:02}.csv" for i in range(24)), "--template", "groove.json", "--report", "batch.pdf", codes=(1,))
        wide = "; ".join(f"value_{i} = max in R : 0 +- 0.2" for i in range(20))
        run("measure", "good.csv", "batch01.csv", "--region", "R = all", "--measure", wide, "--report", "wide.pdf")
        self.assertTrue(pathlib.Path("batch.pdf").read_bytes().startswith(b"%PDF-"))
        if not shutil.which("pdftotext"):
            self.skipTest("no pdftotext (Debian's poppler-utils)")
        text = {page: subprocess.run(["pdftotext", "-layout", f"{page}.pdf", "-"], stdout=subprocess.PIPE, encoding="utf-8",
                                     check=True).stdout for page in ("batch", "wide")}
        self.assertLess(text["batch"].index("NOT GOOD: 1 of 24"), text["batch"].index("Results"))
        for profile in self.data["batch"]["profiles"]:
            for value in values_of(profile):
                self.assertIn(f"{value['value']:.4f}", text["batch"])
        self.assertEqual(text["batch"].count("23 values"), 2, "both values have their plots on paper")
        heads = text["wide"][text["wide"].rindex("Profiles"):]
        for i in range(20):
            self.assertIn(f"value_{i}.at,", heads, "a table that is too wide is divided")


if __name__ == "__main__":
    sys.stdout.reconfigure(errors="backslashreplace")
    sys.stderr.reconfigure(errors="backslashreplace")
    unittest.main(argv=sys.argv[:1], verbosity=2)
