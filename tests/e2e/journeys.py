#!/usr/bin/python3
"""Journeys of people through the desktop application, from outside: journeys.py OSTREL OSTREL-SAMPLE [NAME...]"""

import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import Desktop, wait  # noqa: E402

PROGRAM, SAMPLE = (os.path.abspath(path) for path in sys.argv[1:3])
COUNT = re.compile(r"^[\d,.]+ messages?$")


class Journey:
    """The application on a desktop of its own."""

    def __init__(self, settings=None, environment=None, **display):
        self.desktop = Desktop(environment, **display)
        self.store = self.desktop.home + "/Letters"
        subprocess.run([SAMPLE, self.store], check=True, stdout=subprocess.DEVNULL)
        if settings is not None:
            os.makedirs(os.path.dirname(self.settings_file))
            with open(self.settings_file, "w", encoding="utf-8") as file:
                json.dump({"mailFolder": self.store, **settings}, file)
        self.program = self.desktop.launch(PROGRAM)

    @classmethod
    def on_sample(cls, environment=None, **display):
        """Past the welcome, with the sample in the list."""
        journey = cls({"onboardingDone": True, "paper": "a4"}, environment, **display)
        journey.desktop.find(re.compile("The Paper Lantern"))
        return journey

    @property
    def settings_file(self):
        return self.desktop.home + "/.config/ostrel/settings.json"

    def settings(self):
        with open(self.settings_file, encoding="utf-8") as file:
            return json.load(file)

    def choose_folder(self, title, folder):
        self.desktop.find(title)
        self.desktop.key("ctrl+l")
        # The last letter typed by itself: a proposal for the rest comes late and would be mixed with it.
        self.desktop.type(folder)
        wait(lambda: any(node.text.startswith(folder) for node in self.desktop.nodes()), "the path to be typed")
        self.desktop.key("ctrl+a")
        self.desktop.type(folder)
        wait(lambda: any(node.text == folder for node in self.desktop.nodes()), "the path to be typed")
        self.desktop.key("Return")
        if self.desktop.has(title):   # the first may have taken a proposal
            self.desktop.key("Return")
        self.desktop.gone(title)

    def file_of(self, subject):
        """The message's file in the store."""
        for path in glob.glob(self.store + "/**/*.emlx", recursive=True):
            with open(path, encoding="utf-8", errors="replace") as file:
                if f"Subject: {subject}" in file.read():
                    return path
        raise AssertionError(f"no message {subject!r}")

    def count(self):
        return int(re.sub(r"\D", "", self.desktop.find(COUNT).name))

    def leave(self):
        self.desktop.key("ctrl+q")
        wait(lambda: self.program.poll() is not None, "the end of the program")

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind:
            self.desktop.screenshot("failed.png")
            print(*sorted(self.desktop.texts()), sep="\n")
            print(self.desktop.said(self.program))
        # The engine's processes miss a locale that this machine has not installed.
        said = re.sub(r".*WARNING.*Locale not supported by C library\.\n.*\n", "", self.desktop.said(self.program))
        self.desktop.stop()
        assert kind or not re.search("CRITICAL|WARNING|ERROR", said), said


def first_start():
    """Someone who never read a manual: welcome, no mail, a folder, the list."""
    with Journey() as journey:
        desktop = journey.desktop
        desktop.find("Welcome to Ostrel")
        desktop.key("Return")   # "Get Started"
        desktop.gone("Welcome to Ostrel")
        wait(lambda: journey.settings()["onboardingDone"], "the welcome to be over for good")
        desktop.find("No Mail folder found")
        desktop.find(journey.store, "button")   # it lies in the home, and is offered
        desktop.key("ctrl+o")
        journey.choose_folder(re.compile("^Choose a Mail folder"), journey.store)
        desktop.find(COUNT)
        assert journey.settings()["mailFolder"] == journey.store
        desktop.find("Letters")
        journey.leave()


def finding():
    """Filters, mailboxes, sorting and what becomes of the selected message."""
    with Journey.on_sample() as journey:
        desktop = journey.desktop
        everything = journey.count()
        newest = desktop.rows()
        desktop.click(desktop.find("Subject", "column header"))
        wait(lambda: desktop.rows() != newest, "the list to be sorted by subject")
        subjects = desktop.rows()
        desktop.click(desktop.find("Subject", "column header"))
        wait(lambda: desktop.rows() not in (newest, subjects), "the list to be sorted the other way round")
        bar = desktop.place(desktop.find("Export to PDF…", "button"))
        desktop.click(desktop.find("Filter by subject"))
        desktop.type("papers")
        wait(lambda: 0 < journey.count() < everything, "a narrower list")
        desktop.click(desktop.find(re.compile("papers"), "row"))
        desktop.find("The preview is loaded")
        desktop.click(desktop.find("Filter by subject"))
        desktop.type(" nowhere")
        desktop.find("No Matching Messages")
        assert desktop.place(desktop.find("Export to PDF…", "button")) == bar, "the bar stays below the list"
        desktop.key("ctrl+shift+l")
        wait(lambda: journey.count() == everything, "the whole list")
        desktop.click(desktop.find("Undo"))
        desktop.find("No Matching Messages")
        desktop.key("ctrl+shift+l")
        wait(lambda: journey.count() == everything, "the whole list again")
        desktop.click(desktop.find("All Mailboxes", "checkbox"))
        desktop.find("No Matching Messages")
        desktop.click(desktop.find(re.compile(r", \d+ messages$"), "checkbox"))
        wait(lambda: 0 < journey.count() < everything, "one mailbox")
        desktop.find("1 of 7")
        names = [node for node in desktop.nodes() if node.name == "Sent Messages" and desktop.extents(node)[2] > 0]
        desktop.click(min(names, key=lambda node: desktop.extents(node)[0]))   # the list has such names too
        wait(lambda: {row.split(" | ")[-1] for row in desktop.rows()[1:]} == {"Sent Messages"}, "the messages of one mailbox")
        desktop.find("1 of 7")
        desktop.click(desktop.find("All Mailboxes", "label"))
        wait(lambda: journey.count() == everything, "the whole list by its name")
        journey.leave()


def in_a_narrow_window():
    """On a screen as wide as a phone's: one column after the other, and back."""
    with Journey.on_sample(size="360x700") as journey:
        desktop = journey.desktop

        def is_within(node):
            x, _, width, _ = desktop.place(node)
            return x >= 0 and x + width <= 360

        assert all(is_within(desktop.find(name)) for name in ("Export to PDF…", "Main menu", "Filter by subject"))
        desktop.click(desktop.find(re.compile("Spring papers"), "row"))
        wait(lambda: desktop.focused() == "Message preview", "the message to have the keyboard")
        x, y, width, height = desktop.place(desktop.find("Message preview"))
        assert x >= 0 and x + width <= 360
        beside_the_sheet = (x + width - 20, y + 20, 3, height // 2)   # its margin, before the scroll bar
        wait(lambda: desktop.is_blank(*beside_the_sheet), "the sheet to be as wide as the window")
        desktop.gone("Filter by subject")
        desktop.key("Escape")
        desktop.find(re.compile("Spring papers"), "row", ["selected"])
        wait(lambda: re.search("Spring papers", desktop.focused() or ""), "the list to have the keyboard")
        desktop.key("Return")
        wait(lambda: desktop.focused() == "Message preview", "the message to be opened by keyboard")
        desktop.click(desktop.find("Back", "button"))
        desktop.key("F9")
        desktop.find("All Mailboxes")
        desktop.gone("Filter by subject")
        desktop.click(desktop.find("Sent Messages", "label"))
        desktop.find("Filter by subject")
        desktop.gone("All Mailboxes")
        desktop.key("ctrl+shift+e")
        assert is_within(desktop.find("Choose Folder and Export…", "button"))
        desktop.key("Escape")
        journey.leave()


def exporting():
    """From the options to the summary, and what stands in the folder."""
    with Journey.on_sample() as journey:
        desktop = journey.desktop
        everything = journey.count()
        out = desktop.home + "/out"
        os.mkdir(out)
        desktop.key("ctrl+shift+e")
        desktop.find(f"Export {everything} messages")
        desktop.click(desktop.find(re.compile("^Save each message"), "switch"))
        wait(lambda: not journey.settings()["includeAttachments"], "the switch to be kept")
        desktop.key("Return")
        journey.choose_folder(re.compile("^Choose where to put the export"), out)
        desktop.find("Export finished")
        desktop.find(f"{everything} messages saved as PDFs")
        (folder,) = os.listdir(out)
        desktop.find(os.path.join(out, folder))
        assert len(glob.glob(f"{out}/{folder}/*.pdf")) == everything
        assert os.path.exists(f"{out}/{folder}/index.csv")
        assert not any(entry.is_dir() for entry in os.scandir(f"{out}/{folder}"))
        desktop.key("Return")   # "Done"
        desktop.gone("Export finished")
        journey.leave()


def keeping_an_export():
    """An export is verified, damaged, mended, cut short and gone on with."""
    with Journey.on_sample() as journey:
        desktop = journey.desktop
        everything = journey.count()
        out = desktop.home + "/out"
        os.mkdir(out)
        desktop.key("ctrl+shift+e")
        desktop.find(f"Export {everything} messages")
        desktop.key("Return")
        journey.choose_folder(re.compile("^Choose where to put the export"), out)
        desktop.find("Export finished")
        folder = os.path.join(out, os.listdir(out)[0])
        desktop.click(desktop.find("Verify This Export", "button"))
        desktop.find("The export is whole")
        desktop.key("Return")   # "Done"
        desktop.gone("The export is whole")

        def menu(command):
            desktop.key("F10")
            desktop.find(command, "menu item")
            while desktop.focused() != command:
                before = desktop.focused()
                desktop.key("Down")
                wait(lambda: desktop.focused() != before, f"the focus to leave {before!r}")
            desktop.key("Return")

        pdf = glob.glob(folder + "/*Spring papers*.pdf")[0]
        with open(pdf, "ab") as file:
            file.write(b"x")
        menu("Verify an Export…")
        journey.choose_folder(re.compile("^Choose the folder of the export to verify"), folder)
        desktop.find("Found to be wrong: 1")
        desktop.find(f"Changed: {os.path.basename(pdf)}")
        desktop.click(desktop.find("Update This Export", "button"))
        desktop.find("Update finished")
        desktop.find("1 message saved as a PDF")
        desktop.key("Return")

        menu("Update an Export…")
        desktop.find("Choose Export and Update…", "button")
        desktop.key("Return")
        journey.choose_folder(re.compile("^Choose the folder of the export to bring"), folder)
        desktop.find("0 messages saved as PDFs")
        desktop.find(f"Already in the export: {everything}")
        desktop.key("Return")
        desktop.gone("Update finished")

        os.rename(folder + "/messages.jsonl", folder + "/messages.jsonl.unfinished")
        os.remove(pdf)
        desktop.key("ctrl+shift+e")
        desktop.find(f"Export {everything} messages")
        desktop.key("Return")
        journey.choose_folder(re.compile("^Choose where to put the export"), out)
        desktop.find("Go on with an unfinished export?")
        desktop.key("Return")   # "Go On"
        desktop.find("1 message saved as a PDF")
        assert os.path.exists(pdf) and os.listdir(out) == [os.path.basename(folder)]
        desktop.key("Return")
        desktop.gone("Export finished")
        journey.leave()


def by_keyboard():
    """Around the window with the Tab key: neither the list nor the page is a trap."""
    with Journey.on_sample() as journey:
        desktop = journey.desktop
        desktop.click(desktop.find(re.compile("Spring papers"), "row"))
        desktop.find("The preview is loaded")

        def tab_to(name, most):
            for _ in range(most):
                before = desktop.focused()
                desktop.key("Tab")
                if before != "Message preview":   # there it goes from link to link
                    wait(lambda: desktop.focused() != before, f"the focus to leave {before!r}")
                if desktop.focused() == name:
                    return
            raise AssertionError(f"{name!r} cannot be reached; the focus is at {desktop.focused()!r}")

        tab_to("Message preview", 8)
        everything = journey.count()
        tab_to("Mailboxes", 4)   # from link to link, and not past the first button above
        tab_to("All Mailboxes", 10)
        for _ in range(3):
            before = desktop.focused()
            desktop.key("Down")
            wait(lambda: desktop.focused() != before, f"the focus to leave {before!r}")
        tab_to("Filter by sender or recipient", 1)
        assert journey.count() == everything, "the arrow keys chose mailboxes"
        here = desktop.focused()
        desktop.key("F10")
        wait(lambda: desktop.focused() != here, "the menu to have the keyboard")
        desktop.key("Escape")
        wait(lambda: desktop.focused() == here, "the focus to come back from the menu")
        tab_to("Filter by subject", 1)
        desktop.key("F9")
        desktop.gone("All Mailboxes")
        tides = re.compile("Tide tables")   # its middle is where the handle of the folded column was
        desktop.click(desktop.find(tides, "row"))
        desktop.find(tides, "row", ["selected"])
        desktop.key("F9")
        desktop.find("All Mailboxes")
        journey.leave()


def reading():
    """A message is heard, searched and enlarged."""
    with Journey.on_sample() as journey:
        desktop = journey.desktop
        desktop.click(desktop.find(re.compile("Spring papers"), "row"))
        desktop.find("The preview is loaded")
        wait(lambda: "Forty new washi patterns" in desktop.find("Message preview").description, "the message to be heard")
        desktop.click(desktop.find("Message preview"))
        wait(lambda: desktop.focused() == "Message preview", "the page to have the keyboard")
        desktop.key("ctrl+f")
        wait(lambda: desktop.focused() == "Find in the message", "the field to search in")
        desktop.type("washi")
        desktop.find(re.compile("^1 match"))
        desktop.key("Escape")
        wait(lambda: desktop.focused() == "Message preview", "the page to have the keyboard again")
        desktop.key("ctrl+plus")
        desktop.find("120%")
        desktop.key("ctrl+0")
        desktop.find("100%")
        journey.leave()


def vanished_folder():
    """The chosen folder goes away and comes back."""
    with Journey.on_sample() as journey:
        desktop = journey.desktop
        shutil.move(journey.store, journey.store + ".away")
        desktop.key("ctrl+r")
        desktop.find("No Mail folder found")
        desktop.find(f"The folder “{journey.store}” isn’t there any more. Choose another, or go back to Apple Mail’s folder.")
        shutil.move(journey.store + ".away", journey.store)
        desktop.key("ctrl+r")
        desktop.find(COUNT)
        journey.leave()


def vanished_message():
    """A message whose file has gone shows nothing of the one before; on a display without GL, as many remote ones are."""
    with Journey.on_sample(has_gl=False) as journey:
        desktop = journey.desktop
        desktop.click(desktop.find(re.compile("Spring papers"), "row"))
        desktop.find("The preview is loaded")
        x, y, width, height = desktop.place(desktop.find("Message preview"))
        page = (x + 20, y + 60, width - 60, height // 2)   # below the one line that says what is wrong, without a scroll bar
        wait(lambda: not desktop.is_blank(*page), "the message to be painted")
        os.remove(journey.file_of("Tide tables"))
        desktop.click(desktop.find(re.compile("Tide tables"), "row"))
        wait(lambda: desktop.is_blank(*page), "the page before to go")
        journey.leave()


def help_beside_a_sheet():
    """The help can be read while a sheet is open, and its keys are its own."""
    with Journey.on_sample() as journey:
        desktop = journey.desktop
        desktop.key("ctrl+shift+e")
        desktop.find("Choose Folder and Export…")
        desktop.key("F1")
        desktop.wait_active("Ostrel Help")
        desktop.key("Escape")
        desktop.click(desktop.find("Your data and privacy"))
        desktop.find(re.compile("^Your mail stays on this"))
        desktop.find("Choose Folder and Export…")
        journey.leave()


def staying():
    """Closing a window keeps the application; shown again, the window is as good as new."""
    with Journey.on_sample() as journey:
        desktop = journey.desktop
        for close in (lambda: desktop.key("ctrl+w"), lambda: desktop.click(desktop.find("Close", "button"))):
            close()
            desktop.gone(COUNT)
            assert journey.program.poll() is None
            second = desktop.launch(PROGRAM)
            wait(lambda: second.poll() is not None, "the second to leave")
            desktop.wait_active("Ostrel")
            desktop.find(COUNT)
        journey.leave()


def translations():
    """English text to German, of those that differ."""
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../data/po/de.po"), encoding="utf-8") as file:
        entries = re.sub(r'"\n"', "", file.read())
    pairs = re.findall(r'^msgid "(.+)"\n(?:msgid_plural ".*"\n)?msgstr(?:\[0\])? "(.+)"$', entries, re.M)
    return {english: german for english, german in pairs if english != german and "%" not in english}


def made_locale(name, folder):
    """Its full name; a machine need not have its data installed."""
    subprocess.run(["localedef", "-i", name, "-f", "UTF-8", f"{folder}/{name}.UTF-8"], check=True)
    return name + ".UTF-8"


def in_german():
    """Every face in another language: nothing of it stays English."""
    with tempfile.TemporaryDirectory() as locales, \
            Journey.on_sample({"LC_ALL": made_locale("de_DE", locales), "LOCPATH": locales}) as journey:
        desktop, german = journey.desktop, translations()
        seen = set()

        def look():
            texts = desktop.texts()
            left = {text for text in texts if text in german}
            assert not left, f"English: {left}"
            seen.update(texts)

        look()
        desktop.click(desktop.find(re.compile("Spring papers"), "row"))
        desktop.find(german["The preview is loaded"])
        look()
        desktop.key("ctrl+shift+e")
        desktop.find(german["Choose Folder and Export…"])
        look()
        desktop.key("Escape")
        desktop.key("ctrl+comma")
        desktop.find(german["Reading from"])
        look()
        desktop.click(desktop.find(german["Show the Welcome Screen Again"], "button"))
        desktop.find(german["Welcome to Ostrel"])
        look()
        desktop.key("Return")
        desktop.gone(german["Get Started"])
        desktop.key("F1")
        for topic in ("Finding the right messages", "Your data and privacy"):
            desktop.click(desktop.find(german[topic]))
            look()
        assert len(seen & set(german.values())) > 50, "too little was seen"
        journey.leave()


JOURNEYS = {journey.__name__: journey
            for journey in (first_start, finding, in_a_narrow_window, exporting, keeping_an_export, by_keyboard, reading, vanished_folder,
                            vanished_message, help_beside_a_sheet, staying, in_german)}

if __name__ == "__main__":
    for name in sys.argv[3:] or JOURNEYS:
        JOURNEYS[name]()
        print("ok:", name)
