#!/usr/bin/env python3
"""Makes what the project has of messages/catalogue.toml.

  generate.py table CATALOGUE     the table for C++, on standard output
  generate.py document CATALOGUE  docs/messages.md, on standard output
"""

import json
import re
import sys
import textwrap
import tomllib

# {id} or {id.KEY} in a step of a validation point.
REFERENCE = re.compile(r"\{([a-z0-9-]+)(?:\.([a-z0-9-]+))?\}")


class CatalogueError(Exception):
    pass


def anchor_of(title):
    """The anchor that Markdown makes of a heading."""
    kept = re.sub(r"[^a-z0-9_ -]", "", title.lower())
    return kept.replace(" ", "-")


def read(path):
    """The catalogue, each message with "anchor" and "texts", each text with
    "pattern", "shown" and the names of its "points"."""
    with open(path, "rb") as file:
        catalogue = tomllib.load(file)
    messages = {}
    for chapter in catalogue["chapter"]:
        for message in chapter.setdefault("message", []):
            if message["id"] in messages:
                raise CatalogueError(f"{message['id']}: twice")
            messages[message["id"]] = complete(message, catalogue["point"])
    for point in catalogue["point"]:
        add_reports(point, messages)
    return catalogue, messages


def complete(message, points):
    message["anchor"] = anchor_of(message["title"])
    patterns = message.get("texts", {"": message.get("text", "")})
    for pattern in patterns.values():
        fields = re.findall("<[^>]*>", pattern)
        if len(fields) != len(set(fields)):
            raise CatalogueError(f"{message['id']}: two fields of one name")
    every = message.get("every_point", False)
    message["texts"] = {
        key: {
            "pattern": pattern,
            "shown": pattern.replace("<limit>", str(message.get("limit"))),
            "points": [point["name"] for point in points] if every else [],
        }
        for key, pattern in patterns.items()
    }
    return message


def add_reports(point, messages):
    """Gives the texts that the steps of a point name this point."""
    point["reports"] = []
    for step in point["steps"]:
        for name, key in REFERENCE.findall(step):
            if name not in messages or key not in messages[name]["texts"]:
                raise CatalogueError(f"{point['name']}: no text {name}.{key}")
            points = messages[name]["texts"][key]["points"]
            if point["name"] not in points:
                points.append(point["name"])
            if name not in point["reports"]:
                point["reports"].append(name)


def points_of(message, points):
    """The names of the points that report one of the message's texts."""
    texts = message["texts"].values()
    names = [point["name"] for point in points]
    return [name for name in names if any(name in one["points"] for one in texts)]


def expand(step, messages, link):
    """A step with the titles of its messages; link(title, anchor)."""

    def title_of(match):
        message = messages[match[1]]
        title = message["title"]
        if not title[1:2].isupper():
            title = title[0].lower() + title[1:]
        return link(title, message["anchor"])

    return REFERENCE.sub(title_of, step)


# ---- docs/messages.md --------------------------------------------------------


UNBREAKABLE = "\0"  # a blank of a link


def wrap(text, first="", indent=""):
    wrapped = textwrap.fill(
        text,
        80,
        initial_indent=first,
        subsequent_indent=indent,
        break_long_words=False,
        break_on_hyphens=False,
    )
    return wrapped.replace(UNBREAKABLE, " ")


def link_to(title, anchor):
    return f"[{title}](#{anchor})".replace(" ", UNBREAKABLE)


def document_of_message(message, all_points):
    yield f"### {message['title']}"
    shown = [text["shown"] for text in message["texts"].values()]
    yield "\n".join(["```text", *shown, "```"])
    yield message["about"].strip()
    if "advice" in message:
        yield wrap("**What to do**: " + message["advice"])
    for why in message.get("why", []):
        yield why.strip()
    points = [f"`{name}`" for name in points_of(message, all_points)]
    if message.get("every_point"):
        yield "Reported by every validation point."
    elif points:
        yield wrap("Reported by " + ", ".join(points) + ".")


def document_of_point(point, messages):
    yield f"### {point['name']}"
    yield point["about"].strip()
    steps = [expand(step, messages, link_to) for step in point["steps"]]
    yield "\n".join(
        wrap(step, f"{number}. ", "   ") for number, step in enumerate(steps, 1)
    )


def document(catalogue, messages):
    yield "# Messages"
    yield "<!-- Made of messages/catalogue.toml by ./dev messages. -->"
    yield catalogue["intro"].strip()
    yield "What is filled in:"
    rows = [f"| `{name}` | {what} |" for name, what in catalogue["fields"].items()]
    yield "\n".join(["| field | content |", "| --- | --- |", *rows])
    for chapter in catalogue["chapter"]:
        yield f"## {chapter['title']}"
        if "intro" in chapter:
            yield chapter["intro"].strip()
        for message in chapter["message"]:
            yield from document_of_message(message, catalogue["point"])
    yield f"## {catalogue['points']['title']}"
    yield catalogue["points"]["intro"].strip()
    for point in catalogue["point"]:
        yield from document_of_point(point, messages)


# ---- The table for C++ -------------------------------------------------------


def quoted(text):
    return json.dumps(text, ensure_ascii=False)


def braced(items):
    return "{" + ", ".join(items) + "}"


def plain(markdown):
    """Without the marks of Markdown, on one line."""
    return " ".join(re.sub(r"`|\*\*", "", markdown).split())


def paragraphs(markdown):
    return braced(quoted(plain(part)) for part in markdown.strip().split("\n\n"))


def row_of_text(key, text):
    points = braced(quoted(name) for name in text["points"])
    row = [quoted(key), quoted(text["pattern"]), quoted(text["shown"]), points]
    return braced(row)


def row_of_message(message):
    texts = braced(row_of_text(*item) for item in message["texts"].items())
    row = [
        quoted(message["id"]),
        quoted(message["title"]),
        quoted(message["anchor"]),
        texts,
        paragraphs(message["about"]),
        quoted(message.get("advice", "")),
        quoted(message.get("advice_in_global", "")),
        braced(quoted(plain(why)) for why in message.get("why", [])),
        str(not message.get("log", False)).lower(),
    ]
    return "    {" + ",\n     ".join(row) + "},"


def row_of_point(point, messages):
    steps = (expand(step, messages, lambda title, _: title) for step in point["steps"])
    row = [
        quoted(point["name"]),
        quoted(plain(point["about"])),
        braced(quoted(plain(step)) for step in steps),
        braced(quoted(name) for name in point["reports"]),
    ]
    return "    {" + ",\n     ".join(row) + "},"


def table(catalogue, messages):
    yield "// Made of messages/catalogue.toml."
    yield '#include "messages/catalogue.h"\n'
    yield "// NOLINTBEGIN: two tables, however long."
    yield "namespace ipav::messages {\n"
    yield "const std::vector<Message>& Messages() {"
    yield "  static const std::vector<Message> messages = {"
    yield from map(row_of_message, messages.values())
    yield "  };\n  return messages;\n}\n"
    yield "const std::vector<Point>& Points() {"
    yield "  static const std::vector<Point> points = {"
    yield from (row_of_point(point, messages) for point in catalogue["point"])
    yield "  };\n  return points;\n}\n"
    yield "}  // namespace ipav::messages\n// NOLINTEND"


def main():
    catalogue, messages = read(sys.argv[2])
    if sys.argv[1] == "table":
        print("\n".join(table(catalogue, messages)))
    else:
        print("\n\n".join(document(catalogue, messages)))


if __name__ == "__main__":
    main()
