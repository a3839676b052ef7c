#!/usr/bin/env python3
"""usage: check_pages.py PAGES INCLUDE [CHROMEDRIVER]

Checks that no link of the pages is dead and that every comment of the headers is on them. With a
browser's driver, also opens every page in the browser and checks that the console is empty.
"""

import html.parser
import json
import pathlib
import re
import subprocess
import sys
import time
import urllib.request

PAGES, INCLUDE = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.names, self.text = [], set(), []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.names |= {values[name] for name in ("id", "name") if values.get(name)}
        self.links += [values[name] for name in ("href", "src") if values.get(name)]

    def handle_data(self, data):
        self.text.append(data)


def dead_links(pages):
    for path, page in pages.items():
        for link in page.links:
            file, _, name = link.partition("#")
            target = path.parent / file if file else path
            if re.match(r"[a-z]+:", link):
                continue
            if not target.exists() or (name and target in pages and name not in pages[target].names):
                yield f"{path.name}: {link}"


def words(text):
    return " ".join(re.findall(r"\w+", text.replace("_", " ").lower()))


def lost_comments(pages):
    shown = words(" ".join(" ".join(page.text) for page in pages.values()))
    for header in sorted(set(INCLUDE.rglob("*.h*")) - {INCLUDE / "nodetree/export.h"}):
        text = header.read_text(encoding="utf-8")  # without parts that are not for users
        text = re.sub(r"\nnamespace (\w+::)?detail \{.*?\n\} // namespace (\w+::)?detail", "", text,
                      flags=re.DOTALL)
        text = re.sub(r"\n(private|protected):.*?\n\};", "", text, flags=re.DOTALL)
        text = re.sub(r"(\n///[^\n]*)+(?=\n#if)", "", text)
        for comment in re.findall(r"/\*.*?\*/|(?:^ *///[^\n]*\n)+", text, re.DOTALL | re.MULTILINE):
            if "@cond" in comment:
                continue
            comment = re.sub(r"(@name .*|@[{}])\n", r"\1. \n", comment)
            plain = re.sub(r"(?m)^ *(/\*\*?|\*/?|///?<?)|\*/|^ *\d+\.|@\w+|-{4}", " ", comment)
            for sentence in re.split(r"(?<=[.:;]) ", " ".join(plain.split())):
                found = words(sentence)
                if len(found.split()) > 4 and found not in shown:
                    yield f"{header.name}: {sentence}"


def open_in_browser(driver, pages):
    port = 9517
    with subprocess.Popen([driver, f"--port={port}", "--silent"]) as process:
        def ask(method, path, **body):
            request = urllib.request.Request(
                f"http://127.0.0.1:{port}/session{path}", json.dumps(body).encode(), method=method)
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["value"]

        for _ in range(100):
            try:
                urllib.request.urlopen(f"http://127.0.0.1:{port}/status", timeout=1).close()
                break
            except OSError:
                time.sleep(0.1)
        options = {"args": ["--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
                            "--disable-background-networking", "--disable-component-update",
                            "--disable-sync", "--disable-quic"]}
        session = "/" + ask("POST", "", capabilities={"alwaysMatch": {
            "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}})["sessionId"]
        try:
            for path in pages:
                ask("POST", session + "/url", url=path.as_uri())
                for entry in ask("POST", session + "/se/log", type="browser"):
                    yield f"{path.name}: {entry['message']}"
                if not ask("GET", session + "/title"):
                    yield f"{path.name}: no title"
        finally:
            ask("DELETE", session)
            process.terminate()


found = {path: Page(path) for path in sorted(PAGES.glob("*.html"))}
problems = [*dead_links(found), *lost_comments(found)]
if len(sys.argv) > 3:
    problems += open_in_browser(sys.argv[3], found)
print(*problems, f"{len(found)} pages, {len(problems)} problems", sep="\n")
sys.exit(bool(problems) or len(found) < 50)
