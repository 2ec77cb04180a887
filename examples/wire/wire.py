# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

"""Reads packets in the wire form from standard input and writes them again; fails when that gives other bytes."""

import re
import sys
from xml.dom import minidom

CONTROLS = {chr(c) for c in range(32)} - set("\t\n\r")
REFERENCES = {"&": "&amp;", "<": "&lt;", ">": "&gt;", "\r": "&#13;", '"': "&quot;", "\t": "&#9;", "\n": "&#10;"}


def units(text):
    """One character for each UTF-16 unit, as escapes count them."""
    raw = text.encode("utf-16-le", "surrogatepass")
    return "".join(chr(raw[i] | raw[i + 1] << 8) for i in range(0, len(raw), 2))


def unescape(text):
    return re.sub("_x([0-9A-F]{4})_", lambda match: chr(int(match[1], 16)), units(text))


def escape(unit):
    return f"_x{ord(unit):04X}_"


def begins_escape(text, i):
    return text[i] == "_" and re.match("x[0-9A-F]{4}", text[i + 1 : i + 6])


def write_name(name):
    first = 1 if re.match("[0-9.-]|xml", name, re.IGNORECASE) else 0
    return "".join(
        escape(c) if i < first or begins_escape(name, i) or not re.match("[A-Za-z0-9_.-]", c) else c
        for i, c in enumerate(name)
    )


def write_value(text, references="", behind="", forbidden=frozenset()):
    def written(i, c):
        pair = text[i : i + 2] if "\ud800" <= c <= "\udbff" else text[max(0, i - 1) : i + 1]
        lone = "\ud800" <= c <= "\udfff" and not re.fullmatch("[\ud800-\udbff][\udc00-\udfff]", pair)
        if begins_escape(text + behind, i) or c in CONTROLS or c in "\ufffe\uffff" or c in forbidden or lone:
            return escape(c)
        return REFERENCES[c] if c in references else c

    return "".join(written(i, c) for i, c in enumerate(text))


class Text:
    """A text node: the parser makes one of neighbours, or none, where there is a mark."""

    def __init__(self, value):
        self.value = value


def children_of(node):
    """The child nodes, with the marks of texts taken out."""
    found, marked = [], False
    for child in node.childNodes:
        if child.nodeType == child.TEXT_NODE:
            found.append(Text(unescape(child.data)))
            marked = False
            continue
        if marked:
            found.append(Text(""))
        marked = child.nodeType == child.PROCESSING_INSTRUCTION_NODE
        if not marked:
            found.append(child)
    return found + [Text("")] * marked


def write_children(node):
    children = children_of(node)
    out = ""
    for i, child in enumerate(children):
        behind = ""
        for following in children[i + 1 :]:
            if isinstance(following, Text):
                behind += following.value
            elif following.nodeType == following.CDATA_SECTION_NODE:
                behind += unescape(following.data)
            elif following.nodeType != following.COMMENT_NODE:
                break
        if isinstance(child, Text):
            marked = not child.value or (i > 0 and isinstance(children[i - 1], Text))
            out += "<?t?>" * marked + write_value(child.value, "&<>\r", behind)
        elif child.nodeType == child.CDATA_SECTION_NODE:
            text = write_value(unescape(child.data), "", behind, {"\r"})
            out += "<![CDATA[" + text.replace("]]>", "]]_x003E_") + "]]>"
        elif child.nodeType == child.COMMENT_NODE:
            text = write_value(unescape(child.data), "", "", {"\r"})
            out += "<!--" + re.sub("(?<=-)-|-$", "_x002D_", text) + "-->"
        else:
            out += write_element(child)
    return out


def write_element(element):
    name = write_name(unescape(element.tagName))
    attributes = dict(element.attributes.items())
    out = "<" + name
    if "xmlns" in attributes:
        out += f' xmlns="{attributes.pop("xmlns")}"'
    for key, value in sorted((unescape(key), unescape(value)) for key, value in attributes.items()):
        out += f' {write_name(key)}="' + write_value(value, '&<>"\t\n\r') + '"'
    children = write_children(element)
    return f"{out}>{children}</{name}>" if element.childNodes else out + "/>"


if __name__ == "__main__":
    # A form feed and a line feed end each packet. The parser drops empty CDATA sections.
    for wire in sys.stdin.buffer.read().replace(b"<![CDATA[]]>", b"").split(b"\f\n")[:-1]:
        text = write_children(minidom.parseString(wire))
        written = text.encode("utf-16-le", "surrogatepass").decode("utf-16-le").encode("utf-8")
        if written != wire:
            sys.exit(f"read:    {wire!r}\nwritten: {written!r}")
