# SPDX-License-Identifier: MIT
"""What the programs of this folder share: which files are pages of the site, under which names, and what links to what."""

import glob
import os
import re

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
HEADERS = ("include", "models/include")
PATTERNS = ("*.md", "docs/*.md", "docs/guides/*.md", "docs/reference/*.md", "packaging/yocto/README.md")
LINK = re.compile(r"\]\(((?!\w+:)[^()\s#]*)(#[^()\s]*)?\)")  # ](file#section), not ](https://…)
FENCE = re.compile(r"^ *(`{3,})\s*([\w+-]*)")
CODE = re.compile(r"(?<!`)(`+)(?!`)(.*?[^`])\1(?!`)", re.DOTALL)


def read(path):
    """The text of a file of the tree."""
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def pages():
    """The Markdown files that are pages."""
    return sorted(os.path.relpath(path, ROOT) for pattern in PATTERNS
                  for path in glob.glob(os.path.join(ROOT, pattern)))


def classes():
    """The public classes: name without scope → name with scope."""
    found = {}
    for header in [path for folder in HEADERS for path in sorted(glob.glob(os.path.join(ROOT, folder, "*.h")))]:
        scope = ""
        for line in read(header).split("\n"):
            match = re.match(r"namespace (\S+) {|(})|class KIV_(?:QTDBUS|AUDIO_MODELS)_EXPORT (\w+)", line)
            if match and match[3]:
                found[match[3]] = scope + match[3]
            elif match:
                scope = f"{match[1]}::" if match[1] else ""
    return found


def label_of(path):
    """The name of the page that a file is, or that shows it."""
    if path in pages():
        stem = path.replace("docs/guides/", "guide-").replace("docs/reference/", "").replace("docs/", "")
        return re.sub(r"[^a-z0-9]+", "-", stem[:-len(".md")].lower())
    return "file-" + re.sub(r"[^a-z0-9]+", "-", path.lower())


def anchor_of(path, heading):
    """The label of a section, made of the page's and of the anchor that a forge gives to the heading."""
    return label_of(path) + "_" + re.sub(r"[^\w -]", "", heading.strip().lower(), flags=re.ASCII).replace(" ", "-")


def is_header(path):
    """Whether Doxygen makes a page of the file itself."""
    return os.path.dirname(path) in (*HEADERS, "testing") and path.endswith(".h")


def is_picture(path):
    """Whether Doxygen puts the file into the pages that show it."""
    return path.endswith(".png")


def target_of(page, link):
    """The file to which a relative link of a page leads."""
    return os.path.relpath(os.path.normpath(os.path.join(ROOT, os.path.dirname(page), link)), ROOT)


def kinds(text):
    """The lines of a page, each with what it is: "text", "fence", "fenced" or, in an indented block, "indented"."""
    fence, before = None, ""
    for line in text.split("\n"):
        kind = "text" if fence is None else "fenced"
        if fence is None and FENCE.match(line):
            fence, kind = FENCE.match(line)[1], "fence"
        elif fence is not None and line.strip() == fence:
            fence, kind = None, "fence"
        elif fence is None and line.startswith("    ") and before in ("", "indented"):
            kind = "indented"
        yield line, kind
        before = line.strip() and kind


def linked_files():
    """The files and folders that are neither page, header nor picture, to which pages link."""
    targets = {target_of(page, link) for page in pages() for line, kind in kinds(read(page)) if kind == "text"
               for link, _ in LINK.findall(CODE.sub("", line)) if link}
    return sorted(target for target in targets
                  if target not in pages() and not is_header(target) and not is_picture(target))
