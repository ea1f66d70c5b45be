# SPDX-License-Identifier: MIT
"""Prints an XML document, as the parser of Python's library reads it, as JSON: [tag, [[attribute, value]], text, [children]]."""
import json
import sys
import xml.etree.ElementTree


def described(element):
    text = (element.text or "") + "".join(child.tail or "" for child in element)
    return [element.tag, [[name, value] for name, value in element.attrib.items()], text, [described(child) for child in element]]


print(json.dumps(described(xml.etree.ElementTree.parse(sys.argv[1]).getroot())))
