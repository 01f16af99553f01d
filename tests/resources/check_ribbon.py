"""Checks the custom UI files the way Office would: against its schema, and against what the module offers.

Office drops a whole ribbon without a word when its XML is invalid, a callback has no method or an image no resource.

usage: check_ribbon.py XMLLINT SCHEMA RESOURCES_FOLDER
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET

XMLLINT, SCHEMA, RESOURCES = sys.argv[1:4]
XSD = "{http://www.w3.org/2001/XMLSchema}"
UI = "{http://schemas.microsoft.com/office/2009/07/customui}"
FILES = ("explorer.xml", "appointment.xml")
# Attributes whose value is the name of a method of IConnect.
CALLBACK = re.compile(r"^(get[A-Z]\w*|on[A-Z]\w*|loadImage)$")


def local(name):
    return name.split(":")[-1]


class SchemaRepair:
    """Drops attribute uses that an extension repeats from its base type; libxml2 refuses them."""

    def __init__(self, text):
        ET.register_namespace("xsd", XSD[1:-1])
        self.root = ET.fromstring(text)
        # References to types carry no prefix, so the default namespace must stay; ElementTree forgets it.
        self.root.set("xmlns", UI[1:-1])
        self.types = {t.get("name"): t for t in self.root.iter(XSD + "complexType") if t.get("name")}
        self.groups = {g.get("name"): g for g in self.root.findall(XSD + "attributeGroup")}
        self.dropped = 0

    def names(self, node):
        found = set()
        for child in node:
            if child.tag == XSD + "attribute":
                found.add(child.get("name"))
            elif child.tag == XSD + "attributeGroup":
                found |= self.names(self.groups[local(child.get("ref"))])
            elif child.tag == XSD + "complexContent":
                for derived in child:
                    found |= self.names(derived) | self.names(self.types.get(local(derived.get("base")), ()))
        return found

    def run(self):
        for extension in self.root.iter(XSD + "extension"):
            inherited = self.names(self.types.get(local(extension.get("base")), ()))
            for child in list(extension):
                if child.tag not in (XSD + "attribute", XSD + "attributeGroup") or not self.names([child]) & inherited:
                    continue
                place = list(extension).index(child)
                extension.remove(child)
                self.dropped += 1
                # Of a group that repeats only a part, the rest stays.
                if child.tag == XSD + "attributeGroup":
                    group = self.groups[local(child.get("ref"))]
                    rest = [a for a in group if a.tag == XSD + "attribute" and a.get("name") not in inherited]
                    extension[place:place] = rest
        return ET.tostring(self.root, encoding="utf-8", xml_declaration=True)


def read(*parts):
    with open(os.path.join(RESOURCES, *parts), encoding="utf-8") as file:
        return file.read()


class RibbonXml(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(SCHEMA, encoding="utf-8") as file:
            repair = SchemaRepair(file.read())
        cls.schema = tempfile.NamedTemporaryFile(suffix=".xsd")
        cls.schema.write(repair.run())
        cls.schema.flush()
        cls.dropped = repair.dropped

    @classmethod
    def tearDownClass(cls):
        cls.schema.close()

    def validate(self, text):
        return subprocess.run(
            [XMLLINT, "--nonet", "--noout", "--schema", self.schema.name, "-"],
            input=text.encode("utf-8"), stderr=subprocess.PIPE, timeout=60)

    def test_files_are_valid(self):
        self.assertEqual(self.dropped, 10)
        for name in FILES:
            with self.subTest(name):
                result = self.validate(read("ribbon", name))
                self.assertEqual(result.returncode, 0, result.stderr.decode())

    def test_files_stay_valid_with_the_parts_in_comments(self):
        for name in FILES:
            with self.subTest(name):
                text = read("ribbon", name)
                active = re.sub(r"<!--\s*(</?(?:splitButton|menu|button).*?)-->", r"\1", text, flags=re.S)
                # The size of a split button's button is the split button's.
                active = re.sub(r'(<splitButton[^>]*>\s*<button [^>]*?)size="large" ', r"\1", active)
                self.assertEqual(active.count("<button"), {"explorer.xml": 8, "appointment.xml": 3}[name])
                self.assertEqual(len(list(ET.fromstring(active).iter(UI + "button"))), active.count("<button"))
                result = self.validate(active)
                self.assertEqual(result.returncode, 0, result.stderr.decode())

    def test_the_check_finds_what_office_would_refuse(self):
        text = read("ribbon", "appointment.xml")
        for good, bad in (("getEnabled=", "getEnable="), ('size="large"', 'size="huge"'), ("2009/07", "2006/01")):
            with self.subTest(bad):
                self.assertIn(good, text)
                result = self.validate(text.replace(good, bad))
                self.assertIn(b"fails to validate", result.stderr)

    def test_callbacks_are_methods_and_images_are_resources(self):
        methods = set(re.findall(r"HRESULT (\w+)\(", read("AddIn.idl")))
        numbers = dict(re.findall(r"#define (IDB_\w+) (\d+)", read("resource.h")))
        images = {numbers[name] for name in re.findall(r"^(IDB_\w+) PNG ", read("AddIn.rc"), flags=re.M)}
        for name in FILES:
            ids = []
            for element in ET.fromstring(read("ribbon", name)).iter():
                ids += [element.get("id")] if element.get("id") else []
                for attribute, value in element.items():
                    with self.subTest(file=name, attribute=attribute):
                        if CALLBACK.match(attribute):
                            self.assertIn(value, methods)
                        elif attribute == "image":
                            self.assertIn(value, images)
            self.assertEqual(len(ids), len(set(ids)))

    def test_active_controls_are_the_shipped_ones_in_order(self):
        shipped = {
            "explorer.xml": [
                ("TabMail", "GroupMailNew", "GroupNembraMeetingMail", "",
                 [("StartMeetingMail", "401", ""), ("BookMeetingMail", "402", "GetVisible")]),
                ("TabCalendar", "GroupCalendarNew", "GroupNembraMeetingCalendar", "",
                 [("StartMeetingCalendar", "401", ""), ("BookMeetingCalendar", "402", "")]),
            ],
            "appointment.xml": [
                ("TabAppointment", "GroupActions", "GroupNembraMeetingAppointment", "GetEnable",
                 [("BookMeetingAppointment", "402", "GetVisible"), ("CancelMeeetingAppointment", "404", "GetVisible")]),
            ],
        }
        for name, tabs in shipped.items():
            found = []
            for tab in ET.fromstring(read("ribbon", name)).iter(UI + "tab"):
                (group,) = tab
                buttons = [(b.get("id"), b.get("image"), b.get("getVisible", "")) for b in group]
                for button in group:
                    self.assertEqual(
                        (button.get("size"), button.get("getLabel"), button.get("onAction")),
                        ("large", "GetLabel", "OnAction"))
                (enabled,) = {b.get("getEnabled", "") for b in group}
                found.append((tab.get("idMso"), group.get("insertAfterMso"), group.get("id"), enabled, buttons))
            self.assertEqual(found, tabs)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
