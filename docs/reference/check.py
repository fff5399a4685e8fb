#!/usr/bin/env python3
"""Tells of public declarations whose meaning is missing.

    check.py FOLDER    the XML that Doxygen made of the headers

Every class, function, type and variable has a comment, except what cannot be but one thing: what
is deleted, destructors, and constructors without parameters. The comment of a record, an
enumeration or a namespace of constants speaks for what is in it, that of a class for constructors
that it has from its base.

A parameter's meaning is told when its name stands as a word in the comment of the function, or as
code (`name`) in what its section, class or subject says of all that is in it. An override without a
comment has that of what it overrides."""

import re
import sys
import xml.etree.ElementTree as xml
from pathlib import Path

RECORDS = ("class", "struct", "union", "namespace")
counts = {"declarations": 0, "parameters": 0}
complaints = set()


def descriptions(element):
    return element.findall("briefdescription") + element.findall("detaileddescription")


def comment_in(element):
    return " ".join("".join(part.itertext()) for part in descriptions(element)).strip()


def code_in(elements):
    return {"".join(code.itertext())
            for element in elements for code in element.iter("computeroutput")}


def complain(member, what):
    place = member.find("location")
    complaints.add((place.get("file"), int(place.get("line")), what))


def comment_of(member, members):
    comment = comment_in(member)
    overridden = member.find("reimplements")
    if comment or overridden is None or overridden.get("refid") not in members:
        return comment
    return comment_of(members[overridden.get("refid")], members)


def is_exempt(member, name, is_in_record):
    arguments = member.findtext("argsstring") or ""
    own = member.findtext("name")
    return (member.get("prot") == "private" or member.get("kind") == "friend"
            or own.startswith(("@", "~"))
            or member.get("kind") == "variable" and is_in_record
            or arguments.endswith("=delete") or arguments.endswith("=default") and "()" in arguments
            or member.get("kind") == "enum" and name.rpartition("::")[2].startswith("@"))


def check(member, members, told_of_all, is_in_record):
    name = member.findtext("qualifiedname") or member.findtext("name")
    if is_exempt(member, name, is_in_record):
        return
    counts["declarations"] += 1
    comment = comment_of(member, members)
    if not comment:
        return complain(member, f"{name}{member.findtext('argsstring') or ''} has no comment")
    for parameter in member.findall("param") if member.get("kind") == "function" else []:
        word = parameter.findtext("declname")
        if not word:
            continue
        counts["parameters"] += 1
        if not re.search(rf"\b{re.escape(word)}\b", comment) and word not in told_of_all:
            complain(member, f"{name}: nothing is said of the parameter {word}")


def check_record(compound):
    counts["declarations"] += 1
    name = compound.findtext("compoundname")
    if not comment_in(compound) and "@" not in name:
        complain(compound, f"{compound.get('kind')} {name} has no comment")


def main():
    roots = [xml.parse(file).getroot() for file in Path(sys.argv[1]).glob("*.xml")]
    compounds = [compound for root in roots for compound in root.findall("compounddef")
                 if compound.get("prot") != "private"]
    # What is in a subject is in its file, too: the subject, which says more, comes first.
    compounds.sort(key=lambda compound: compound.get("kind") != "group")
    members = {member.get("id"): member
               for compound in compounds for member in compound.iter("memberdef")}
    classes = {compound.findtext("compoundname"): compound for compound in compounds}
    # What a subject says of all that is in it, by the names of its classes.
    subjects = {inner.text: code_in(descriptions(compound))
                for compound in compounds if compound.get("kind") == "group"
                for inner in compound.findall("innerclass")}
    seen = set()
    for compound in compounds:
        if compound.get("kind") in RECORDS:
            check_record(compound)
        for section in compound.findall("sectiondef"):
            for member in section.findall("memberdef"):
                if member.get("id") in seen:
                    continue
                seen.add(member.get("id"))
                # A member of a class may stand on the page of a subject.
                name = member.findtext("qualifiedname") or ""
                owner = classes.get(name.rpartition("::")[0], compound)
                told = code_in(section.findall("description") + descriptions(owner))
                told |= subjects.get(owner.findtext("compoundname"), set())
                check(member, members, told, owner.get("kind") in RECORDS)


main()
for file, line, what in sorted(complaints):
    print(f"{file}:{line}: {what}")
print(f"{counts['declarations']} public declarations, {counts['parameters']} parameters",
      file=sys.stderr)
sys.exit(1 if complaints else 0)
