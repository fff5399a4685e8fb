#!/usr/bin/env python3
"""Says in Doxygen's words what the headers say in their own, without moving a line.

    prepare.py FOLDER    writes the public headers, the list of subjects and the guides there, as
                        Doxygen is to read them; fails when a header has no subject

In the headers, which clang-format has laid out:
  - "// --- Title ---" begins a section, and the comment lines behind it are about all of it; it
    lasts to the next one, or to the end of its class or file.
  - The comment ahead of the first declaration, with a blank line behind it, is about the whole
    file: it becomes a paragraph of its subject.
  - "/// @family Text" is the comment of all declarations that follow without a blank line or
    another comment in between. Overloads that follow each other so share a comment without it.
Which subject a header or section belongs to stands in subjects.txt.

In the guides, headings get names of their own page, links lead to them, and what is no page is no
link."""

import html
import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
SECTION = re.compile(r"\s*// --- (.*?) -+$")
ATTRIBUTES = re.compile(
    r"\[\[.*?\]\] ?|__attribute__\(\(.*?\)\)\)?|template <.*?>(?= |$)|requires .*"
    r"|NIMBO_\w+(\(.*?\))?")
GUIDES = ["README.md", "docs/plug-in-guide.md", "docs/recipes.md", "docs/stand-in-host.md",
          "docs/architecture.md", "fuzz/README.md"]
NO_DECLARATION = re.compile(
    r"\s*([})]|#(?!define)|static_assert|friend |(public|protected|private):|namespace )")


def read_subjects():
    """The subjects as [name, title, lines of text], and the name of each header's or section's."""
    subjects, places = [], {}
    for line in (ROOT / "docs/reference/subjects.txt").read_text().splitlines():
        if match := re.match(r"\[(\w*)\] ?(.*)", line):
            subjects.append([match[1], match[2], []])
        elif line.startswith("- "):
            places[line[2:]] = subjects[-1][0]
        elif line and not line.startswith("#"):
            subjects[-1][2].append(line)
    return subjects, places


def subject_groups():
    groups = []
    for name, title, text in read_subjects()[0]:
        if name:
            groups += [f"/** @defgroup {name} {title}", *text, "*/"]
    return groups


def public_headers():
    listed = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard"]
        + [f"{folder}/*.h" for folder in ("platform", "shell", "host", "data", "ui")],
        cwd=ROOT, check=True, capture_output=True, text=True).stdout.split()
    places = read_subjects()[1]
    listed = [header for header in listed if (ROOT / header).exists()]
    lost = [header for header in listed if header not in places]
    if lost:
        sys.exit(f"docs/reference/subjects.txt: without a subject: {', '.join(lost)}")
    return [header for header in listed if places[header]]


def indentation(line):
    return len(line) - len(line.lstrip())


def introduce(name, subject, lines):
    """Moves the comment about the whole file, which has an empty line ahead, into its subject."""
    end = next((number for number, line in enumerate(lines)
                if line.startswith("///") or SECTION.match(line)), len(lines))
    first = next((number for number in range(end) if lines[number].startswith("// ")), end)
    last = first
    while last < end and lines[last].startswith("//"):
        last += 1
    start = 0
    if first < last < len(lines) and not lines[last]:
        start = last
        lines[first - 1] = f"/** @addtogroup {subject}"
        for number in range(first, last):
            lines[number] = lines[number][3:]
        lines[first] = f"@details {name}: {lines[first]}"
        lines[last - 1] += " */"
    lines[start] = f"/** @addtogroup {subject} */ /** @{{ */"


def mark_sections(name, places, lines):
    """Groups the members of each section. Answers, line by line, the command that moves a member of
    a class to another subject than its header's; mostly there is none."""
    has_members = any(place.startswith(f"{name}: ") for place in places)
    depth = None  # of the open section
    membership = ""
    memberships = []
    for number, line in enumerate(lines):
        title = SECTION.match(line)
        ends = line.strip().startswith("}") and depth is not None and indentation(line) < depth
        if depth is not None and (title or ends):
            lines[number] = "/** @} */ " + line
            depth, membership = None, ""
        if title:
            depth = indentation(line)
            if has_members and depth > 0:
                membership = " @ingroup " + places.get(f"{name}: {title[1]}", places[name])
            last = number
            while re.match(r"\s*// (?!---)", lines[last + 1]):
                last += 1
                lines[last] = lines[last].replace("// ", "", 1)
            lines[number] = lines[number].removesuffix(line) + f"/** @name {title[1]}"
            lines[last] += " */ /** @{ */"
        memberships.append(membership)
    if depth is not None:
        lines.append("/** @} */")
    return memberships


def declared_name(lines, number):
    """The name of the function whose declaration begins on this line; else the line itself."""
    text = ATTRIBUTES.sub("", lines[number])
    if not text.strip():
        text = ATTRIBUTES.sub("", lines[number + 1])
    found = re.search(r"(operator\W+|~?\w+)\s*\(", text)
    return found[1] if found else lines[number]


def share_comments(lines, memberships):
    """Gives each declaration that shares a comment one of its own, on its line."""
    comment, is_family, depth = [], False, 0
    declared = None  # what was declared with the comment; None while there is nothing
    for number, membership in enumerate(memberships):
        line = lines[number]
        if match := re.match(r"\s*///(?!<) ?(.*)", line):
            if declared is not None or not comment:
                comment, is_family, declared = [], match[1].startswith("@family "), None
                depth = indentation(line)
                line = line.replace("@family ", "", 1)
            comment.append(line.strip()[4:])
            is_last = not lines[number + 1].strip().startswith("///")
            lines[number] = line + (membership if is_last else "")
        elif not line.strip() or indentation(line) < depth or (
                line.strip().startswith("//") and indentation(line) == depth):
            comment = []
        elif comment and indentation(line) == depth and not NO_DECLARATION.match(line):
            name = declared_name(lines, number)
            if declared is None or not ATTRIBUTES.sub("", lines[number - 1]).strip():
                declared = name
            elif is_family or name == declared:
                lines[number] = f"/** {' '.join(comment)}{membership} */ {line}"
            else:
                comment = []


def converted(name):
    places = read_subjects()[1]
    lines = (ROOT / name).read_text().splitlines()
    introduce(name, places[name], lines)
    share_comments(lines, mark_sections(name, places, lines))
    return lines + ["/** @} */"]


def page_of(guide):
    """The name of a guide's page, and what the names of its headings begin with."""
    return "index" if guide == "README.md" else (
        guide.removesuffix(".md").removesuffix("/README").rpartition("/")[2])


def heading_of(text):
    """What a heading is called in a link to it."""
    return re.sub(r"[^\w -]", "", text.lower()).strip().replace(" ", "-")


def escape_code(text):
    """Doxygen takes what stands in `code` for commands and entities; blocks of code it leaves."""
    def escape(match):
        if match[1] or not re.search(r"[\\&<>|']", match[2]):
            return match[0]
        code = match[2].replace("\\|", "|")
        code = re.sub(r"([\\|_*@#]|--)", r"\\\1", code)
        return '<code>' + html.escape(code, quote=False).replace('"', '&quot;') + '</code>'

    return re.sub(r"^(```).*?^```$|`((?:[^`\n]|\n(?!\n))+)`", escape, text, flags=re.M | re.S)


def converted_guide(guide):
    def link(match):
        text, target, _, heading = match[1], *match[2].partition("#")
        path = os.path.normpath(os.path.join(os.path.dirname(guide), target)) if target else guide
        if "://" in target:
            return match[0]
        if path not in GUIDES or not (ROOT / path).exists():
            return text
        return f"[{text}](@ref {page_of(path)}{'-' if heading else ''}{heading})"

    lines, is_code = [], False
    for line in escape_code((ROOT / guide).read_text()).splitlines():
        if line.startswith("```"):
            is_code = not is_code
        elif not is_code:
            line = re.sub(r"(?<!!)\[([^][]*)\]\(([^() ]+)\)", link, line)
            if match := re.match(r"#+ (.*)", line):
                is_title = line.startswith("# ")
                name = page_of(guide) if is_title else f"{page_of(guide)}-{heading_of(match[1])}"
                if name != "index":
                    line += f" {{#{name}}}"
        lines.append(line)
    return lines


def write(name, lines):
    file = Path(sys.argv[1]) / name
    file.parent.mkdir(parents=True, exist_ok=True)
    file.write_text("\n".join(lines) + "\n")


write("subjects.h", subject_groups())
for guide in GUIDES:
    if (ROOT / guide).exists():
        write(guide, converted_guide(guide))
for header in public_headers():
    write(header, converted(header))
