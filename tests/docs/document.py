"""A Markdown document, taken apart: its fenced blocks, headings and links."""

import re

FENCE = "```"
NOT_RUN = re.compile(r"<!-- not run: (\S.*) -->")
EXAMPLE = re.compile(r"<!-- run: (\w+) -->")
LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")
CODE = re.compile(r"`[^`]*`")


class Block:
    """A fenced block. Lines are counted from 0, the fences not among them."""

    def __init__(self, kind, begin, marker):
        self.kind = kind  # what stands behind the fence, such as "console"
        self.begin = begin
        self.marker = marker  # the last line of text above it
        self.lines = []

    def example(self):
        """The name by which a test of its own runs it, or None."""
        found = EXAMPLE.fullmatch(self.marker)
        return found.group(1) if found else None

    def why_not_run(self):
        found = NOT_RUN.fullmatch(self.marker)
        return found.group(1) if found else None


def read_lines(path):
    with open(path, encoding="utf-8") as file:
        return file.read().splitlines()


def take_apart(lines):
    """The fenced blocks, and the other lines with their numbers."""
    blocks, prose = [], []
    inside = False
    last_text = ""
    for number, line in enumerate(lines):
        if line.strip().startswith(FENCE):
            inside = not inside
            if inside:
                kind = line.strip()[len(FENCE) :]
                blocks.append(Block(kind, number + 1, last_text))
            last_text = ""
        elif inside:
            blocks[-1].lines.append(line)
        else:
            prose.append((number, line))
            last_text = line.strip() or last_text
    return blocks, prose


def blocks_of(lines):
    return take_apart(lines)[0]


def examples_of(path):
    """The texts of the examples of a document, by name."""
    return {block.example(): "\n".join(block.lines) + "\n"
            for block in blocks_of(read_lines(path)) if block.example()}


def links_of(lines):
    """The targets of links and images with their line numbers."""
    _, prose = take_apart(lines)
    # A link's text may be code, and its text and target on two lines.
    text = "\n".join(line for _, line in prose)
    text = CODE.sub(lambda code: "_" * len(code.group()), text)
    numbers = [number for number, _ in prose]
    return [
        (numbers[text.count("\n", 0, link.start(1))], link.group(1))
        for link in LINK.finditer(text)
    ]


def anchors_of(lines):
    """What links to a heading of it name."""
    anchors = set()
    for _, line in take_apart(lines)[1]:
        if re.match("#+ ", line):
            title = line.lstrip("#").strip().lower()
            anchors.add(re.sub(r"[^\w\- ]", "", title).replace(" ", "-"))
    return anchors
