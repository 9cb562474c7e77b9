"""A headless Chromium with an empty profile of its own, for pages of files."""
import shutil
import tempfile
import time

FLAGS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--hide-scrollbars", "--window-size=1200,900"]


def missing():
    """What is not there of a browser, its driver and the bindings; empty when all is."""
    names = [name for name in ("chromium", "chromedriver") if shutil.which(name) is None]
    try:
        import selenium  # noqa: F401
    except ImportError:
        names.append("python3-selenium")
    return names


class Browser:
    def __enter__(self):
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service
        self.profile = tempfile.mkdtemp(prefix="tavo-browser-")
        options = webdriver.ChromeOptions()
        for flag in FLAGS + [f"--user-data-dir={self.profile}"]:
            options.add_argument(flag)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        self.driver.set_script_timeout(120)
        # What the browser does on its own at its start is none of the page's.
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.driver.get_log("performance")
        return self

    def __exit__(self, *_):
        self.driver.quit()
        shutil.rmtree(self.profile, ignore_errors=True)

    def open(self, path):
        """Opens a page of a file and waits until all of it is there."""
        self.driver.get(f"file://{path}")
        for _ in range(1200):
            if self.run("return Boolean(window.tavoReport && window.tavoReport.ready);"):
                return
            time.sleep(0.1)
        raise TimeoutError(f"{path} does not come up: {self.driver.get_log('browser')}")

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def messages(self):
        """What the page wrote on the console since the last call."""
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def events(self):
        """Raw events of the browser since the last call, as texts."""
        return [entry["message"] for entry in self.driver.get_log("performance")]
