"""A desktop for one test: a display, a session bus with the accessibility bus on it, a window manager and a home, all
private and gone afterwards. Programs are seen through the accessibility tree, as a screen reader sees them, and worked
with real keys and clicks."""

import os
import re
import shutil
import signal
import subprocess
import tempfile
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

PATIENCE = 30.0  # seconds that anything may take on a busy machine before it counts as never
ACCESSIBLE, TEXT, COMPONENT, VALUE = (f"org.a11y.atspi.{name}" for name in ("Accessible", "Text", "Component", "Value"))
PROPERTIES = "org.freedesktop.DBus.Properties"
# By their place in the two words of AT-SPI's state set.
STATES = {"checked": 4, "enabled": 8, "expanded": 10, "focused": 12, "modal": 16, "pressed": 20, "selected": 23,
          "sensitive": 24, "showing": 25}
LAUNCHERS = ("/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher")
BUS = """<busconfig><type>session</type><listen>unix:path={run}/bus</listen><auth>EXTERNAL</auth>
<servicedir>{run}/services</servicedir><policy context="default"><allow send_destination="*" eavesdrop="true"/>
<allow eavesdrop="true"/><allow own="*"/></policy></busconfig>"""
TOOLKIT = "[Settings]\ngtk-enable-animations=0\ngtk-cursor-blink=0\ngtk-overlay-scrolling=0\n"


def wait(condition, what, patience=PATIENCE):
    end = time.monotonic() + patience
    while not (result := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.05)
    return result


class Node:
    """One accessible object as it was when the tree was read."""

    def __init__(self, bus, path):
        self.at = (bus, path)
        self.role = self.name = self.description = self.text = ""
        self.states, self.children, self.window = set(), [], self

    def walk(self):
        yield self
        for child in self.children:
            yield from child.walk()

    def __repr__(self):
        return f"<{self.role} {self.name!r}>"


class Desktop:
    def __init__(self, environment=None, size="1400x1000", has_gl=True):
        self.folder = tempfile.mkdtemp(prefix="ostrel-e2e-")
        self.home = os.path.join(self.folder, "home")
        self.servers, self.programs = [], []
        try:
            self._start(environment or {}, size, has_gl)
        except BaseException:
            self.stop()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    # ---- Beginning and end

    def _start(self, environment, size, has_gl):
        run = os.path.join(self.folder, "run")
        self.environment = {"PATH": os.environ["PATH"], "HOME": self.home, "XDG_RUNTIME_DIR": run, "TZ": "UTC",
                            "XDG_CONFIG_HOME": self.home + "/.config", "XDG_CACHE_HOME": self.home + "/.cache",
                            "XDG_DATA_HOME": self.home + "/.local/share", "TMPDIR": self.folder + "/tmp", "LC_ALL": "C.UTF-8",
                            "GDK_BACKEND": "x11", "GTK_A11Y": "atspi", "GTK_USE_PORTAL": "0",
                            "GTK_IM_MODULE": "gtk-im-context-simple", "GIO_USE_VFS": "local", "GSETTINGS_BACKEND": "memory"}
        for name in ("LSAN_OPTIONS", "ASAN_OPTIONS"):
            if name in os.environ:
                self.environment[name] = os.environ[name]
        for folder in (run + "/services", self.folder + "/tmp", self.home + "/.config/gtk-4.0"):
            os.makedirs(folder, mode=0o700)
        self._write(self.home + "/.config/gtk-4.0/settings.ini", TOOLKIT)

        shown, number = os.pipe()
        # Without a reset when the last client goes: the window manager could come in the middle of it, and end.
        self._serve("Xvfb", "-displayfd", str(number), "-screen", "0", size + "x24", "-nolisten", "tcp", "-noreset", "+extension" if has_gl else "-extension", "GLX",
                    passing=number)
        self.environment["DISPLAY"] = ":" + self._line(shown)
        launcher = next(path for path in LAUNCHERS if os.path.exists(path))
        self._write(run + "/services/org.a11y.Bus.service", f"[D-BUS Service]\nName=org.a11y.Bus\nExec={launcher}\n")
        self._write(run + "/bus.conf", BUS.format(run=run))
        told, number = os.pipe()
        self._serve("dbus-daemon", f"--config-file={run}/bus.conf", "--nofork", f"--print-address={number}", passing=number)
        address = self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._line(told)
        self.environment.update(environment)
        self._serve("openbox", "--sm-disable")
        wait(lambda: "window id" in self._ask("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), "the window manager")

        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        session = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        answer = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None, 0, -1, None)
        self.bus = Gio.DBusConnection.new_for_address_sync(answer.unpack()[0], flags, None, None)

    def _serve(self, *command, passing=None):
        log = open(os.path.join(self.folder, command[0] + ".log"), "wb")
        self.servers.append(subprocess.Popen(command, env=self.environment, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                             pass_fds=(passing,) if passing else ()))
        if passing:
            os.close(passing)

    @staticmethod
    def _write(path, text):
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    @staticmethod
    def _line(descriptor):
        with os.fdopen(descriptor) as pipe:
            return pipe.readline().strip()

    def _ask(self, *command):
        return subprocess.run(command, env=self.environment, capture_output=True, text=True, check=False).stdout

    def stop(self):
        for program in self.programs + self.servers[::-1]:
            if program.poll() is None:
                program.send_signal(signal.SIGTERM)
                try:
                    program.wait(5)
                except subprocess.TimeoutExpired:
                    program.kill()
                    program.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    # ---- Programs

    def launch(self, *command, environment=None):
        log = open(os.path.join(self.folder, f"program-{len(self.programs)}.log"), "w+", encoding="utf-8")
        program = subprocess.Popen(command, env={**self.environment, **(environment or {})}, stdin=subprocess.DEVNULL, stdout=log,
                                   stderr=log)
        program.log = log.name
        self.programs.append(program)
        return program

    @staticmethod
    def said(program):
        with open(program.log, encoding="utf-8", errors="replace") as log:
            return log.read()

    # ---- Looking

    def _call(self, calls):
        """Many calls at once, [(node, interface, method, arguments)]; None for one that failed."""
        answers, left = [None] * len(calls), len(calls)

        def done(bus, result, place):
            nonlocal left
            left -= 1
            try:
                answers[place] = bus.call_finish(result).unpack()
            except GLib.Error:
                pass

        for place, (node, interface, method, arguments) in enumerate(calls):
            self.bus.call(*node.at, interface, method, arguments, None, 0, 5000, None, done, place)
        while left:
            GLib.MainContext.default().iteration(True)
        return answers

    def windows(self):
        """The tree of every window on the display."""
        registry = Node("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
        level, every, depth = [registry], [], 0
        while level:
            for node, answer in zip(level, self._call([(node, ACCESSIBLE, "GetChildren", None) for node in level])):
                node.children = [Node(bus, path) for bus, path in (answer[0] if answer else []) if not path.endswith("/null")]
                if depth >= 2:   # below the applications and their windows
                    for child in node.children:
                        child.window = node.window
            level = [child for node in level for child in node.children]
            every += level
            depth += 1
        self._fill(every)
        return [window for application in registry.children for window in application.children]

    def _fill(self, nodes):
        def property_of(interface, name):
            return PROPERTIES, "Get", GLib.Variant("(ss)", (interface, name))

        asked = ((ACCESSIBLE, "GetRoleName", None), (ACCESSIBLE, "GetState", None), property_of(ACCESSIBLE, "Name"),
                 property_of(ACCESSIBLE, "Description"), (TEXT, "GetText", GLib.Variant("(ii)", (0, 1 << 24))))
        answers = self._call([(node, *call) for node in nodes for call in asked])
        for place, node in enumerate(nodes):
            role, state, name, description, text = answers[place * len(asked):(place + 1) * len(asked)]
            node.role = role[0] if role else "gone"
            bits = (state[0][0] | state[0][1] << 32) if state else 0
            node.states = {word for word, bit in STATES.items() if bits >> bit & 1}
            node.name = re.sub(r"^(gtkmm__)?(Gtk|Gdk|WebKit)[A-Z]\w*$", "", name[0] if name else "")
            node.description = description[0] if description else ""
            node.text = text[0] if text else ""
        for node in nodes:
            if node.role == "row" and not node.name:   # a row of the list is read by its cells
                node.name = " | ".join(cell.name for child in node.children for cell in child.walk() if cell.role == "label")

    def nodes(self):
        """All but what is hidden, which a newer toolkit lists with the size that it had; an older one says only of windows
        that they are showing."""
        every = [node for window in self.windows() for node in window.walk()]
        telling = {node.at[0] for node in every if "showing" in node.states and node is not node.window}
        return [node for node in every if "showing" in node.states or node.at[0] not in telling]

    def has(self, text, role=None, states=()):
        """The first object that reads so: a text, or a pattern found in it."""
        def fits(said):
            return text.search(said) if isinstance(text, re.Pattern) else said == text

        return next((node for node in self.nodes() if (role is None or node.role == role) and set(states) <= node.states and
                     (fits(node.name) or fits(node.text)) and self.extents(node)[2] > 0), None)

    def find(self, text, role=None, states=()):
        return wait(lambda: self.has(text, role, states), f"{role or 'something'} {text!r} {list(states) or ''}")

    def gone(self, text, role=None, states=()):
        wait(lambda: not self.has(text, role, states), f"{text!r} to go")

    def focused(self):
        """What has the keyboard, as it is called."""
        return next((node.name for node in self.nodes() if "focused" in node.states), None)

    def wait_active(self, title):
        """Until the window of that title has the keyboard."""
        wait(lambda: self._ask("xdotool", "getactivewindow", "getwindowname").strip() == title, f"window {title!r} to be active")

    def texts(self):
        """All that can be read or heard on the display."""
        return {said for node in self.nodes() for said in (node.name, node.text, node.description) if said}

    def rows(self):
        """What the list shows, from top to bottom."""
        found = [(self.extents(node), node) for node in self.nodes() if node.role == "row"]
        return [node.name for place, node in sorted(found, key=lambda entry: entry[0][1]) if place[2] > 0]

    def is_blank(self, x, y, width, height):
        """Whether a part of the display has one colour only."""
        shot = subprocess.run(["import", "-window", "root", "png:-"], env=self.environment, stdout=subprocess.PIPE, check=True)
        colours = subprocess.run(["convert", "-", "-crop", f"{width}x{height}+{x}+{y}", "-format", "%k", "info:"],
                                 input=shot.stdout, stdout=subprocess.PIPE, check=True)
        return colours.stdout == b"1"

    def extents(self, node):
        """x, y, width, height in its window."""
        answer = self._call([(node, COMPONENT, "GetExtents", GLib.Variant("(u)", (1,)))])[0]
        return answer[0] if answer else (0, 0, 0, 0)

    def screenshot(self, path):
        if shutil.which("import"):   # of ImageMagick
            subprocess.run(["import", "-window", "root", path], env=self.environment, check=False)

    # ---- Working

    def key(self, *keys):
        subprocess.run(["xdotool", "key", "--clearmodifiers", *keys], env=self.environment, check=True)

    def type(self, text):
        subprocess.run(["xdotool", "type", "--delay", "20", text], env=self.environment, check=True)

    def place(self, node):
        """x, y, width, height on the display."""
        x, y, width, height = self.extents(node)
        left, top = self._origin(node.window.name)
        return left + x, top + y, width, height

    def click(self, node, button=1):
        x, y, width, height = self.place(node)
        subprocess.run(["xdotool", "mousemove", str(x + width // 2), str(y + height // 2), "click", str(button)],
                       env=self.environment, check=True)

    def _origin(self, title):
        """Where the window of that title stands; the toolkit tells places within a window only."""
        found = self._ask("xdotool", "search", "--onlyvisible", "--name", f"^{re.escape(title)}$").split()
        place = dict(line.split("=") for line in self._ask("xdotool", "getwindowgeometry", "--shell", found[-1]).split())
        return int(place["X"]), int(place["Y"])
