#!/usr/bin/env python3
"""Builds one language of the help, MobileService.chm, with chmcmd.

  build-chm.py LANGUAGE OUTPUT.chm [--work DIR]

The sources are help/<LANGUAGE>/ (the project MobileService.hhp, contents.hhc,
index.hhk, one topic per window and the start page), help/help.css and the
pictures help/pictures/<LANGUAGE>/<picture>.png listed in help/pictures.tsv.
Before anything is compiled the sources are checked, and the build fails with one
line per problem:
  - the project lists every topic in its folder and nothing that is missing;
  - the default topic is the start page, which links every other topic and shows
    a picture for each;
  - the contents and the index name every topic;
  - every link leads to a topic and every picture a topic shows exists: a picture
    marked pending in pictures.tsv (its window is not built yet) is replaced by one
    that says so until the real picture exists;
  - every text can be written in the language's code page (936 for chs).
The sources are UTF-8; the compiled help holds them in the code page its project's
Language names, as help viewers expect.
"""

import argparse
import html.parser
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
START = "start.htm"
CODE_PAGES = {"0x804": ("gbk", "gb2312"), "0x409": ("cp1252", "windows-1252")}
FONT = "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc"
PENDING_TEXT = {"chs": "{title}\n此窗口尚未完成，图片待补", "en": "{title}\nThis window is not built yet: picture to come"}


class Links(html.parser.HTMLParser):
    """The links, pictures and sitemap entries of one HTML file."""

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.hrefs, self.images, self.locals, self.names = [], [], [], []

    def handle_starttag(self, tag, attrs):
        a = dict(attrs)
        if tag == "a" and a.get("href"):
            self.hrefs.append(a["href"])
        elif tag == "img" and a.get("src"):
            self.images.append(a["src"])
        elif tag == "param" and (a.get("name") or "").lower() == "local":
            self.locals.append(a.get("value") or "")
        elif tag == "param" and (a.get("name") or "").lower() == "name":
            self.names.append(a.get("value") or "")


def parse(path):
    p = Links()
    p.feed(open(path, encoding="utf-8").read())
    return p


def read_project(path):
    sections, current = {}, None
    for line in open(path, encoding="utf-8").read().splitlines():
        line = line.strip()
        if not line or line.startswith(";"):
            continue
        m = re.fullmatch(r"\[(\w+)\]", line)
        if m:
            current = sections.setdefault(m.group(1).upper(), [])
        elif current is not None:
            current.append(line)
    options = dict(l.split("=", 1) for l in sections.get("OPTIONS", []) if "=" in l)
    return options, sections.get("FILES", [])


def read_pictures():
    rows = {}
    lines = [l for l in open(os.path.join(HERE, "pictures.tsv"), encoding="utf-8").read().splitlines()
             if l.strip() and not l.startswith("#")]
    header = lines[0].split("\t")
    for line in lines[1:]:
        row = dict(zip(header, line.split("\t")))
        rows[row["picture"]] = row
    return rows


def check(language):
    """Returns (problems, topics, pictures used as {name: real path or None})."""
    source = os.path.join(HERE, language)
    problems = []
    project = os.path.join(source, "MobileService.hhp")
    options, files = read_project(project)
    topics = sorted(f for f in os.listdir(source) if f.endswith(".htm"))
    listed = [f for f in files if f.endswith(".htm")]
    for f in files:
        if not os.path.isfile(os.path.join(source, f)) and not os.path.isfile(os.path.join(HERE, f)):
            problems.append(f"{project}: lists {f}, which does not exist")
    for t in topics:
        if t not in listed:
            problems.append(f"{project}: does not list the topic {t}")
    if options.get("Default topic") != START:
        problems.append(f"{project}: the default topic must be {START}, not {options.get('Default topic')}")
    if options.get("Language", "").split()[0:1] and options["Language"].split()[0].lower() not in CODE_PAGES:
        problems.append(f"{project}: unknown Language {options.get('Language')}")
    if START not in topics:
        problems.append(f"{source}: has no start page {START}")
        return problems, topics, {}

    for name, what in (("Contents file", "contents"), ("Index file", "index")):
        path = os.path.join(source, options.get(name, ""))
        if not os.path.isfile(path):
            problems.append(f"{project}: its {what} file {options.get(name)} does not exist")
            continue
        entries = parse(path)
        for local in entries.locals:
            if local not in topics:
                problems.append(f"{path}: names {local}, which is no topic")
        for t in topics:
            if t == START and what == "index":
                continue
            if t not in entries.locals:
                problems.append(f"{path}: the {what} does not name the topic {t}")

    pictures = read_pictures()
    used = {}
    for t in topics:
        path = os.path.join(source, t)
        links = parse(path)
        for href in links.hrefs:
            target = href.split("#", 1)[0]
            if target and not re.match(r"^[a-z]+:", target) and target not in topics:
                problems.append(f"{path}: links {href}, which is no topic")
        for src in links.images:
            m = re.fullmatch(r"pictures/([a-z0-9-]+)\.png", src)
            if not m:
                problems.append(f"{path}: shows {src}; pictures are pictures/<name>.png")
                continue
            name = m.group(1)
            real = os.path.join(HERE, "pictures", language, name + ".png")
            row = pictures.get(name)
            if row is None:
                problems.append(f"{path}: shows {src}, which help/pictures.tsv does not list")
            elif os.path.isfile(real):
                used[name] = real
            elif row["state"] == "pending":
                used[name] = None
            else:
                problems.append(f"{path}: refers to the missing picture help/pictures/{language}/{name}.png "
                                f"(run scripts/demo --headless to take it)")
        if t == START:
            for other in topics:
                if other != START and other not in links.hrefs:
                    problems.append(f"{path}: the start page does not link {other}")
            if len(set(links.images)) < len(topics) - 1:
                problems.append(f"{path}: the start page shows {len(set(links.images))} pictures "
                                f"for {len(topics) - 1} windows")
    for name, row in pictures.items():
        if row["state"] == "pending" and name in used and used[name]:
            print(f"build-chm.py: note: help/pictures/{language}/{name}.png exists now; "
                  f"the pending mark of '{name}' in help/pictures.tsv can go", file=sys.stderr)
    return problems, topics, used


def placeholder(language, title, out):
    text = PENDING_TEXT[language].format(title=title)
    command = ["convert", "-size", "480x160", "-background", "#f4f4f4", "-fill", "#a03030", "-gravity", "center"]
    if os.path.isfile(FONT):
        command += ["-font", FONT]
    command += ["-pointsize", "20", f"caption:{text}", "-bordercolor", "#a03030", "-border", "3", out]
    subprocess.run(command, check=True, capture_output=True)


def build(language, output, work):
    problems, topics, used = check(language)
    source = os.path.join(HERE, language)
    options, files = read_project(os.path.join(source, "MobileService.hhp"))
    code = options.get("Language", "").split()[0].lower()
    encoding, charset = CODE_PAGES.get(code, (None, None))
    staged = {}
    for f in os.listdir(source):
        text = open(os.path.join(source, f), encoding="utf-8").read()
        try:
            staged[f] = text.encode(encoding)
        except UnicodeEncodeError as e:
            problems.append(f"{os.path.join(source, f)}: '{text[e.start:e.end]}' has no place in code page {encoding}")
    if problems:
        for p in problems:
            print(p, file=sys.stderr)
        sys.exit(f"build-chm.py: {language}: {len(problems)} problem(s); the help was not built")

    stage = tempfile.mkdtemp(prefix=f"chm-{language}.", dir=work)
    try:
        for f, data in staged.items():
            if f.endswith((".htm", ".hhc", ".hhk")) and f"charset={charset}".encode() not in data:
                sys.exit(f"build-chm.py: {source}/{f} must declare charset={charset}")
            open(os.path.join(stage, f), "wb").write(data)
        shutil.copyfile(os.path.join(HERE, "help.css"), os.path.join(stage, "help.css"))
        os.mkdir(os.path.join(stage, "pictures"))
        titles = read_pictures()
        pending = []
        for name, real in sorted(used.items()):
            out = os.path.join(stage, "pictures", name + ".png")
            if real:
                shutil.copyfile(real, out)
            else:
                placeholder(language, titles[name][language], out)
                pending.append(name)
        result = subprocess.run(["chmcmd", "MobileService.hhp"], cwd=stage, capture_output=True,
                                text=True)
        compiled = os.path.join(stage, "MobileService.chm")
        if result.returncode != 0 or not os.path.isfile(compiled):
            sys.stderr.write(result.stdout + result.stderr)
            sys.exit(f"build-chm.py: chmcmd failed for {language}")
        os.makedirs(os.path.dirname(os.path.abspath(output)), exist_ok=True)
        shutil.move(compiled, output)
        real = len(used) - len(pending)
        print(f"build-chm.py: {language}: {len(topics)} topics, {real} pictures from the windows"
              + (f", {len(pending)} marked not built yet ({', '.join(pending)})" if pending else ""))
    finally:
        shutil.rmtree(stage, ignore_errors=True)


def main():
    p = argparse.ArgumentParser()
    p.add_argument("language", choices=("chs", "en"))
    p.add_argument("output")
    p.add_argument("--work", default=None)
    a = p.parse_args()
    build(a.language, a.output, a.work or tempfile.gettempdir())
    return 0


if __name__ == "__main__":
    sys.exit(main())
