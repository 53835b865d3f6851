#!/usr/bin/env python3
"""The terminal's page in a real browser: headless Chromium driven over the DevTools protocol
runs a sale on the page. It opens the page with the token and sees the services and the first
frame, types the amount on the page's key pad into the sale's amount view and sees it on the
page's screen, puts a chip card in the slot with the page's button, types the PIN on the
computer keyboard (the keys go to the PIN pad while it waits), and finds the spoken "approved",
the result on the screen and the printed receipt; a request without the token is
refused.

Usage: browser_test.py POS_SIM SALE SCENARIO"""
import asyncio
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.request

try:
    import websockets
except ImportError:
    websockets = None


def chromium():
    for name in ("chromium", "chromium-browser", "google-chrome"):
        path = shutil.which(name)
        if path:
            return path
    return None


class Page:
    """One page target over its DevTools web socket."""

    def __init__(self, socket):
        self.socket = socket
        self.next_id = 0

    async def call(self, method, **params):
        self.next_id += 1
        ident = self.next_id
        await self.socket.send(json.dumps({"id": ident, "method": method, "params": params}))
        while True:
            message = json.loads(await self.socket.recv())
            if message.get("id") == ident:
                if "error" in message:
                    raise RuntimeError(f"{method}: {message['error']}")
                return message.get("result", {})

    async def evaluate(self, expression):
        result = await self.call("Runtime.evaluate", expression=expression,
                                 awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    async def wait_for(self, expression, what, seconds=30):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if await self.evaluate(expression):
                return
            await asyncio.sleep(0.2)
        text = await self.evaluate("document.body.innerText")
        raise AssertionError(f"the page never showed {what}; it shows:\n{text[:3000]}")

    async def key(self, key, code, text=None):
        for kind in ("keyDown", "keyUp"):
            params = {"type": kind, "key": key, "code": code}
            if text and kind == "keyDown":
                params["text"] = text
            await self.call("Input.dispatchKeyEvent", **params)


# The page's screen at X, Y of the frame as RRGGBB (the frame comes from the page's own server,
# so a canvas may read it).
SCREEN_PIXEL = """((x, y) => { const img = document.getElementById('screen');
  if (!img.complete || img.naturalWidth !== 800) return '';
  const c = document.createElement('canvas'); c.width = 800; c.height = 1320;
  const g = c.getContext('2d'); g.drawImage(img, 0, 0);
  const d = g.getImageData(x, y, 1, 1).data;
  return [d[0], d[1], d[2]].map(v => v.toString(16).padStart(2, '0')).join(''); })"""


async def drive(page, url):
    await page.call("Page.enable")
    await page.call("Runtime.enable")
    await page.call("Page.navigate", url=url)
    await page.wait_for("document.readyState === 'complete'", "the page loaded")
    await page.wait_for("document.getElementById('link').textContent === 'live'",
                        "the event stream live")
    await page.wait_for("[...document.querySelectorAll('#services td')].some(t => "
                        "t.textContent === 'iccard')", "the card reader among the services")
    await page.wait_for("document.getElementById('screen').naturalWidth === 800",
                        "the first frame on the screen")

    # The amount view: 1 2 5 0 and Enter on the page's key pad.
    await page.wait_for("(() => { const d = service('display'); "
                        "return d && d.state && d.state.view === 'amount'; })()", "the amount view")
    for name in ["1", "2", "5", "0"]:
        await page.evaluate(f"document.querySelector('#keypad [data-key=\"{name}\"]').click()")
    await page.wait_for(SCREEN_PIXEL + "(400, 360) === '2e2bff' && "
                        "document.getElementById('answers').textContent.includes('name=0')",
                        "the amount view on the page's screen")
    await page.evaluate("document.querySelector('#keypad [data-key=ENTER]').click()")

    refused = await page.evaluate("fetch('/api/cards').then(r => r.status)")
    assert refused == 403, f"a request without the token got {refused}"

    # The sale waits for a card: the page's card chooser and the slot's Insert button.
    await page.wait_for("document.querySelector('#card option[value=\"emv-contact\"], "
                        "#card option') !== null", "the card files")
    await page.evaluate("document.getElementById('card').value = 'emv-contact'")
    await page.wait_for("!document.querySelector('[data-service=iccard] button').disabled",
                        "the slot's buttons enabled")
    await page.evaluate("document.querySelector('[data-service=iccard] button').click()")
    await page.wait_for("document.getElementById('answers').textContent.includes("
                        "'iccard event insert file=emv-contact')", "the insert sent")

    # The PIN pad waits: the digits and Enter from the keyboard.
    await page.wait_for("(() => { const p = (state.services || []).find(s => s.key === "
                        "'pinpad'); return p && p.state && p.state.entry && "
                        "p.state.entry.state === 'waiting'; })()", "the PIN entry waiting")
    for digit in "1234":
        await page.key(digit, "Digit" + digit, digit)
    await page.key("Enter", "Enter", "\r")

    await page.wait_for("document.querySelector('#speech audio') !== null",
                        "the spoken approval", seconds=60)
    # The result under the sale's title bar, the amount view gone.
    await page.wait_for(SCREEN_PIXEL + "(400, 200) === '2e2bff' && " + SCREEN_PIXEL +
                        "(400, 360) === 'ffffff'", "the result on the screen")
    audio = await page.evaluate("document.querySelector('#speech audio').src")
    status = await page.evaluate(f"fetch({json.dumps(audio)}).then(r => r.status)")
    assert status == 200, f"the speech file answered {status}"
    # The printed receipt under Receipts, loaded: the paper's 384 dots wide and some lines long.
    await page.wait_for("(() => { const img = document.querySelector('#receipts img'); "
                        "return img && img.complete && img.naturalWidth === 384 && "
                        "img.naturalHeight > 100 && img.dataset.path.includes('receipt-0001'); })()",
                        "the printed receipt")
    print("browser test: receipt shown")


async def run_browser(browser, url, profile):
    process = subprocess.Popen(
        [browser, "--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run",
         "--no-default-browser-check", "--disable-extensions", "--remote-debugging-port=0",
         "--remote-debugging-address=127.0.0.1", f"--user-data-dir={profile}", "about:blank"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        port_file = os.path.join(profile, "DevToolsActivePort")
        deadline = time.monotonic() + 60
        while not os.path.exists(port_file) or not open(port_file).read().strip():
            if time.monotonic() > deadline or process.poll() is not None:
                raise AssertionError("Chromium did not open its DevTools port")
            await asyncio.sleep(0.1)
        port = open(port_file).read().split()[0]
        targets = []
        while not any(t.get("type") == "page" for t in targets):
            await asyncio.sleep(0.1)
            with urllib.request.urlopen(f"http://127.0.0.1:{port}/json/list") as reply:
                targets = json.loads(reply.read().decode())
        target = next(t for t in targets if t.get("type") == "page")
        async with websockets.connect(target["webSocketDebuggerUrl"], max_size=None) as socket:
            await drive(Page(socket), url)
    finally:
        process.kill()
        process.wait()


def main():
    pos_sim, sale, scenario = sys.argv[1:4]
    browser = chromium()
    if browser is None or websockets is None:
        print("browser test skipped: " + ("no Chromium installed (Debian package chromium)"
                                          if browser is None else
                                          "no Python websockets (Debian package python3-websockets)"))
        return 0
    work = tempfile.mkdtemp(prefix="pos-browser-test.")
    out = os.path.join(work, "out")
    os.mkdir(out)
    sim = subprocess.Popen([pos_sim, "run", "--web", "0", "--out", out, "--scenario", scenario,
                            "--keep", os.path.dirname(sale), "--", sale, "--wait", "90"],
                           stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                           text=True)
    try:
        url_file = os.path.join(out, "pos-sim.web")
        deadline = time.monotonic() + 30
        while not (os.path.exists(url_file) and open(url_file).read().strip()):
            assert time.monotonic() < deadline and sim.poll() is None, "pos-sim printed no page"
            time.sleep(0.05)
        url = open(url_file).read().strip()
        asyncio.run(run_browser(browser, url, os.path.join(work, "profile")))
        output, errors = sim.communicate(timeout=60)
        assert sim.returncode == 0, f"the sale ended with {sim.returncode}:\n{output}\n{errors}"
        assert "approved" in output.splitlines(), output
        assert "amount 12.50" in output.splitlines(), output
        print("browser test: the sale was driven and approved on the page")
        return 0
    finally:
        if sim.poll() is None:
            sim.kill()
            sim.wait()
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
