"""The page of `tavo report` in a real browser: check_report.py TOOL EXAMPLES FOLDER

Counts are those of the other verbs, findings lead to the map, nothing from a file is markup, and
neither a message on the console nor a request comes of the page. Exit status 77: there is no browser.
"""
import json
import pathlib
import subprocess
import sys
import unittest

from browser import Browser, missing

TOOL, EXAMPLES, FOLDER = sys.argv[1:4]
BAD = "</script><script>window.hacked=1</script>"
SIGHTINGS = [  # two sets in both faces, with differences of +0.4 and +0.8 mgon, 0 and 2 mm
    (100.0000, 90.0000, 50.000), (300.0004, 310.0002, 50.000),
    (100.0010, 90.0000, 50.004), (300.0018, 310.0000, 50.006)]


def hostile():
    """A survey with markup, quotes and Latin-1 wherever a file has words, and sightings in sets."""
    rows = "".join(f"      2,{hz},{vz},{distance};\n" for hz, vz, distance in SIGHTINGS)
    return f"""HEADER
  UNITS
    ANGULAR GRADS
    LINEAR METRE
  END UNITS
  PROJECT
    NAME "<b>&amp; M\xfcller"
    DESCRIPTION "<script>window.hacked=3</script>"
  END PROJECT
END HEADER
DEFINITIONS
  LAYERS (LayerNo,Name)
    1,"<i>layer</i>";
  END LAYERS
END DEFINITIONS
DATABASE
  POINTS (PointNo,PointID,East,North,Code,LayerNo,Description)
    1,"</b>'&lt",1000.0,2000.0,"<u>x</u>",1,"<img src=x onerror=a>";
    2,"Gr\xfc\xdf",1040.0,2030.0,"\\"'&",1,"";
    3,"bad",{BAD},2030.0,"<script>",1,"";
    THEMINFO (PointID,Attribute,Value)
      "Gr\xfc\xdf","Age",12;
    END THEMINFO
  END POINTS
  LINES (LineNo,LineID,LayerNo)
    1,"<hr>",1;
    EDGES (LineNo,StartPt,EndPt)
      1,1,2;
    END EDGES
    ANNOTATIONS (LineNo,Annotation)
      1,"<svg onload=window.hacked=4>";
    END ANNOTATIONS
  END LINES
END DATABASE
THEODOLITE
  SETUP
    STN_NO 1
    INST_HT 1.5
  END SETUP
    SLOPE (TgtNo,Hz,Vz,SDist)
{rows}    END SLOPE
END THEODOLITE
""".encode("latin-1")


def tool(*arguments, status=0, text=None):
    done = subprocess.run([TOOL, *arguments], input=text, capture_output=True, cwd=FOLDER, check=False)
    assert done.returncode == status, (arguments, done.returncode, done.stderr)
    return done.stdout


def cells(browser, region):
    """The cells of a table's rows, as texts."""
    return browser.run("""
        const box = document.querySelector(`[role=region][aria-label="${arguments[0]}"]`);
        return [...box.querySelectorAll('tbody tr')].map(row => [...row.cells].map(cell => cell.innerText));
        """, region)


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = cls.enterClassContext(Browser())

    def open(self, page):
        self.browser.events()
        self.browser.open(pathlib.Path(FOLDER) / page)

    def tearDown(self):
        """No message, no error, no request but for the page and what stands in it."""
        self.assertEqual(self.browser.messages(), [])
        for event in map(json.loads, self.browser.events()):
            message = event["message"]
            if message["method"] != "Network.requestWillBeSent":
                continue
            url = message["params"]["request"]["url"]
            self.assertTrue(url.startswith(("file://" + FOLDER, "data:", "about:")), url)
        self.assertIsNone(self.browser.run("return window.hacked || null;"))

    def report(self, name, status=0):
        tool("report", f"{EXAMPLES}/{name}.tvo", "-o", "page.html", "--overwrite", status=status)
        self.open("page.html")

    def shown(self, label):
        """The number beside a switch of the map."""
        return self.browser.run("""
            const label = [...document.querySelectorAll('#panel label')].find(
              label => label.textContent.startsWith(arguments[0]));
            return label ? Number(label.querySelector('i').textContent) : 0;""", label)

    def test_counts_are_those_of_the_other_verbs(self):
        for name, status in (("survey", 0), ("all-sections", 0), ("mistakes", 1)):
            with self.subTest(name):
                self.report(name, status)
                path = f"{EXAMPLES}/{name}.tvo"
                checked = json.loads(tool("check", "--format", "json", path, status=status))
                records = [json.loads(line) for line in tool("dump", path, status=status).splitlines()[1:]]
                counts = self.browser.run("""return Object.fromEntries([...document.querySelectorAll(
                    '[data-count]')].map(node => [node.dataset.count, Number(node.textContent.replaceAll(',', ''))]));""")
                for what in ("errors", "warnings", "lines", "records"):
                    self.assertEqual(counts[what], checked[what], what)
                blocks = {}
                for record in records:
                    if "fields" in record:
                        block = "/".join(record["block"].split("/")[-2:])
                        blocks[block] = blocks.get(block, 0) + 1
                self.assertEqual({key: value for key, value in counts.items() if key[0].isupper()}, blocks)
                body = self.browser.run("return document.body.innerText;")
                self.assertIn(checked["sha256"], body)
                self.assertIn(checked["tool"], body)
                findings = checked.get("findings", [])
                self.assertEqual(len(cells(self.browser, "Findings")) if findings else 0, len(findings))
                times = tool("timeline", path, status=status).decode().splitlines()
                for kind, word in (("point", "point"), ("slope", "sighting"), ("code", "code")):
                    count = sum(line.startswith(kind) for line in times)
                    plural = "" if count == 1 else "s"
                    self.assertEqual(f" {count} {word}{plural}" in " " + self.browser.run(
                        "return document.getElementById('time').innerText;"), count > 0)
        self.report("survey")
        self.assertEqual([self.shown(kind) for kind in ("Points", "Lines", "Polygons", "Annotations")],
                         [151, 4, 14, 5])

    def test_findings_lead_to_the_map(self):
        self.open_hostile()
        before = self.browser.run("""const map = window.tavoReport.map; map.panBy([400, 300], {animate: false});
                                     return Object.values(map.getCenter());""")
        near = self.browser.run("""const button = document.querySelector('[data-finding]');
                                   button.click(); return button.textContent;""")
        after = self.browser.run("return Object.values(window.tavoReport.map.getCenter());")
        self.assertRegex(near, "near")  # the line of point 3 gave no record; point 2 stands in front of it
        self.assertNotEqual(before, after)
        # From the middle of the points, in metres, north first.
        for value, expected in zip(after, (15, 20)):
            self.assertAlmostEqual(value, expected, places=1)
        self.assertEqual(self.browser.run("return document.activeElement.id;"), "map")
        values = self.browser.run("return document.getElementById('values').innerText;")
        for word in ("Point 2", "Age 12"):  # of THEMINFO that names the point by its identifier alone
            self.assertIn(word, values)
        marked = self.browser.run("return [...document.querySelectorAll('mark')].map(m => m.textContent);")
        self.assertIn(BAD, marked)

    def open_hostile(self):
        (pathlib.Path(FOLDER) / "<b>&.tvo").write_bytes(hostile())
        tool("report", "<b>&.tvo", "-o", "page.html", "--overwrite", status=1)
        self.open("page.html")

    def test_words_of_a_file_are_text(self):
        self.open_hostile()
        body = self.browser.run("return document.body.innerText;")
        for words in ("<b>&.tvo", "<b>&amp; Müller", "<script>window.hacked=3</script>", "<i>layer</i>",
                      "</b>'&lt", "<u>x</u>", "Grüß", "\"'&", "<hr>", BAD):
            self.assertIn(words, body)
        self.assertEqual(self.browser.run("return document.title;"), "<b>&amp; Müller")
        self.assertEqual(self.browser.run("return document.querySelectorAll('img, b:not(#values b), u, hr').length;"), 0)
        # The page's policy would stop what got in all the same.
        self.browser.run("""const script = document.createElement('script');
                            script.textContent = 'window.hacked = 5';
                            document.body.append(script); script.remove();""")
        self.assertEqual(len([m for m in self.browser.messages() if "Content Security Policy" in m]), 1)
        svg = tool("plot", "<b>&.tvo", "-o", "-", status=1).decode()
        self.assertIn("&lt;b&gt;&amp;amp; Müller", svg)
        self.assertNotIn("<svg onload", svg)

    def test_observations(self):
        self.open_hostile()
        pairs = [row[:5] for row in cells(self.browser, "Two-face differences")]
        self.assertEqual(pairs, [["1", "2", "0.40", "0.20", "0.00"], ["1", "2", "0.80", "0.00", "2.00"]])
        # Sets 100.0002 and 100.0014, 89.9999 and 90.0000, 50.000 and 50.005.
        self.assertEqual([row[:6] for row in cells(self.browser, "Repeatability")],
                         [["1", "2", "2", "0.85", "0.07", "3.54"]])
        self.assertEqual(len(cells(self.browser, "Sightings")), 4)
        self.assertEqual(cells(self.browser, "Setups")[0][:2], ["1", "1.5000"])

    def test_tables_sort_filter_and_print(self):
        self.report("survey")
        click = """const box = document.querySelector('[aria-label="Points"]');
                   const head = box.querySelectorAll('th')[arguments[0]];
                   head.querySelector('button').click(); return head.getAttribute('aria-sort');"""
        self.assertEqual(self.browser.run(click, 0), "ascending")
        self.assertEqual(self.browser.run(click, 0), "descending")
        self.assertEqual(cells(self.browser, "Points")[0][:2], ["1139", "D1139"])
        self.assertEqual(len(cells(self.browser, "Points")), 50)
        self.browser.run("window.dispatchEvent(new Event('beforeprint'));")
        self.assertEqual(len(cells(self.browser, "Points")), 151)
        self.browser.run("window.dispatchEvent(new Event('afterprint'));")
        self.browser.driver.execute_async_script("""
            const done = arguments[0];
            const search = document.querySelector('#tables input');
            search.value = 'church'; search.dispatchEvent(new Event('input')); setTimeout(done, 400);""")
        self.assertEqual([row[1] for row in cells(self.browser, "Points")], ["CHURCH"])

    def test_switches_and_keys(self):
        from selenium.webdriver.common.keys import Keys
        self.report("survey")
        inked = """const canvas = document.createElement('canvas');
                   const map = document.querySelector('#map canvas');
                   canvas.width = map.width; canvas.height = map.height;
                   const pen = canvas.getContext('2d', {willReadFrequently: true});
                   pen.drawImage(map, 0, 0);
                   const data = pen.getImageData(0, 0, canvas.width, canvas.height).data;
                   let count = 0; for (let i = 3; i < data.length; i += 4) count += data[i] > 0; return count;"""
        everything = self.browser.run(inked)
        self.browser.run("document.querySelector('#panel [aria-label=\"Codes: none\"]').click();")
        rest = self.browser.run(inked)
        self.assertLess(rest, everything / 4)
        self.browser.run("document.querySelector('#panel [aria-label=\"Codes: all\"]').click();")
        self.assertEqual(self.browser.run(inked), everything)
        field = self.browser.driver.find_element("css selector", "#panel input[type=search]")
        field.send_keys("CHURCH", Keys.ENTER)
        values = self.browser.run("return document.getElementById('values').innerText;")
        for word in ("Point 4", "ID CHURCH", "Code CTRL", "East 419749.1669 m", "Elevation 510.9000 m",
                     "CLASS FIX", "Description Church, centre of ball", "SymNo1 12"):
            self.assertIn(word, values)
        field.clear()
        field.send_keys("1007", Keys.ENTER)
        values = self.browser.run("return document.getElementById('values').innerText;")
        self.assertIn("Species Acer platanoides", values)
        place = "return Object.values(window.tavoReport.map.getCenter());"
        before = self.browser.run(place)
        self.browser.driver.switch_to.active_element.send_keys(Keys.ARROW_LEFT)
        self.browser.driver.execute_async_script("setTimeout(arguments[0], 600);")
        self.assertNotEqual(self.browser.run(place), before)
        unnamed = self.browser.run("""return [...document.querySelectorAll('input, select, button')].filter(
            node => !node.labels?.length && !node.getAttribute('aria-label') && !node.textContent.trim()).length;""")
        self.assertEqual(unnamed, 0)

    def test_several_surveys_and_streams(self):
        text = pathlib.Path(EXAMPLES, "all-sections.tvo").read_bytes()
        page = tool("report", "-", f"{EXAMPLES}/survey.tvo", "-o", "-", text=text)
        (pathlib.Path(FOLDER) / "two.html").write_bytes(page)
        self.open("two.html")
        title = "return document.querySelector('h1').textContent;"
        self.assertEqual(self.browser.run(title), "Monitoring of the Teufen dam, epoch 14")
        self.browser.run("""const choice = document.getElementById('survey'); choice.selectedIndex = 1;
                            choice.dispatchEvent(new Event('change'));""")
        self.assertEqual(self.browser.run(title), "Mill Lane, renewal of road and drainage")
        self.assertEqual(self.shown("Points"), 151)
        (pathlib.Path(FOLDER) / "none.html").write_bytes(tool("report", "-", "-o", "-", text=b"; nothing\n"))
        self.open("none.html")
        self.assertIn("Nothing in this survey has coordinates", self.browser.run("return document.body.innerText;"))

    def test_many_points(self):
        count = 100001
        points = "".join(f'{i},"P{i}",{i % 400},{i // 400},"C{i % 3}";\n' for i in range(1, count + 1))
        (pathlib.Path(FOLDER) / "many.tvo").write_text(
            "DATABASE\nPOINTS (PointNo,PointID,East,North,Code)\n" + points + "END POINTS\nEND DATABASE\n",
            encoding="ascii")
        tool("report", "many.tvo", "-o", "many.html", "--overwrite")
        self.open("many.html")
        self.assertIn("100,001", self.browser.run("return document.getElementById('panel').innerText;"))
        self.assertIn("position, number and code", self.browser.run(
            "return document.getElementById('notes').textContent;"))
        field = self.browser.driver.find_element("css selector", "#panel input[type=search]")
        field.send_keys("803\n")
        values = self.browser.run("return document.getElementById('values').innerText;")
        self.assertRegex(values.replace("\n", " "), r"^Point 803 *Code C2 *East 3.0000 m *North 2.0000 m$")


if __name__ == "__main__":
    if missing():
        print("NOT TESTED: the page of tavo report needs", ", ".join(missing()))
        sys.exit(77)
    unittest.main(argv=sys.argv[:1], verbosity=2)
