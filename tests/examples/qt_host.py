#!/usr/bin/env python3
"""Runs the Qt host on a virtual screen against the simulated PLC and looks at the pixels. The pictures are kept.

Usage: qt_host.py QT_HOST ECSIM DRIVER FOLDER_FOR_PICTURES
"""
import math
import os
import subprocess
import sys
import tempfile
import time

from PIL import ImageGrab

from plc import PATIENCE, Plc, check, result, same

HOST, SIM, DRIVER, PICTURES = (os.path.abspath(path) for path in sys.argv[1:5])

# Where things are on a screen of 800 by 480.
HUB, TICKS, ARC = (260, 309), 120, 154
LAMP, SWITCH_LEFT, SWITCH_RIGHT = (573, 171), (560, 358), (602, 358)
STATE = (480, 20, 780, 48)
CARDS = (24, 64, 776, 456)

GREEN, RED, TEAL = (0x2E, 0x9E, 0x5B), (0xC2, 0x41, 0x3A), (0x13, 0x7F, 0x8E)
DARK, GREY, TRACK, OFF = (0x1D, 0x29, 0x33), (0xB4, 0xBD, 0xC6), (0xE4, 0xE9, 0xEE), (0xB7, 0xC1, 0xCB)


def is_near(pixel, colour, by=24):
    return all(abs(a - b) <= by for a, b in zip(pixel, colour))


class Screen:
    """A virtual display and the host on it."""

    def __init__(self, folder, port):
        reading, writing = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "800x480x24", "-nolisten",
                                        "tcp"], pass_fds=[writing], stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as file:
            self.display = ":" + file.readline().strip()
        if self.display == ":":
            raise RuntimeError("there is no virtual screen")
        self.log = os.path.join(folder, "loader")
        self.environment = {**os.environ, "DISPLAY": self.display, "QT_QPA_PLATFORM": "xcb", "XDG_RUNTIME_DIR": folder,
                            "LD_DEBUG": "files", "LD_DEBUG_OUTPUT": self.log,
                            # What fonts and display keep to the end is no leak of the host's.
                            "ASAN_OPTIONS": "detect_leaks=0"}
        self.host = subprocess.Popen([HOST, DRIVER, port, "-qwindowgeometry", "800x480+0+0"], env=self.environment)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in (self.host, self.server):
            process.kill()
            process.wait()

    def picture(self):
        return ImageGrab.grab(xdisplay=self.display).convert("RGB")

    def click(self, place):
        environment = {**os.environ, "DISPLAY": self.display}
        subprocess.run(["xdotool", "mousemove", *map(str, place), "click", "1"], env=environment, check=True)

    def wait(self, what, name, *conditions):
        """Waits until all conditions hold for the picture, which is kept."""
        wrong = self.look(name, PATIENCE, conditions)
        check(not wrong, f"{what}: does not hold: {', '.join(wrong)}; see {name}.png")

    def click_until(self, condition, place, what, name):
        """Clicks once more only when nothing happens: on a busy machine the PLC may not answer just then."""
        for _ in range(4):
            self.look(name, PATIENCE, [is_connected])
            self.click(place)
            if not self.look(name, PATIENCE / 3, [condition]):
                break
        self.wait(what, name, condition)

    def look(self, name, patience, conditions):
        """The names of the conditions that do not hold in the end."""
        end = time.monotonic() + patience
        while True:
            picture = self.picture()
            wrong = [condition.__name__ for condition in conditions if not condition(picture)]
            if not wrong or time.monotonic() > end:
                break
            time.sleep(0.05)
        picture.save(os.path.join(PICTURES, name + ".png"))
        return wrong


def count(picture, box, colour, by=24):
    return sum(is_near(pixel, colour, by) for pixel in picture.crop(box).getdata())


def is_connected(picture):
    return count(picture, STATE, GREEN) > 60


def is_silent(picture):
    return count(picture, STATE, RED) > 60


def is_lamp_on(picture):
    return is_near(picture.getpixel(LAMP), GREEN, 40)


def is_lamp_off(picture):
    return min(picture.getpixel(LAMP)) > 0xE0 and count(picture, (535, 130, 615, 210), OFF) > 40


def is_lamp_unknown(picture):
    return picture.getpixel(LAMP) == (255, 255, 255) and count(picture, (535, 130, 615, 210), GREY) > 40


def is_switch_on(picture):
    return is_near(picture.getpixel(SWITCH_LEFT), TEAL)


def is_switch_off(picture):
    return is_near(picture.getpixel(SWITCH_RIGHT), OFF)


def is_colourless(picture):
    """Nothing in the cards has a colour, and no needle is dark."""
    colours = sum(max(pixel) - min(pixel) > 40 for pixel in picture.crop(CARDS).getdata())
    return colours == 0 and needle(picture, DARK) is None


def on_circle(radius, value):
    angle = math.radians(210 - 2.4 * value)
    return round(HUB[0] + radius * math.cos(angle)), round(HUB[1] - radius * math.sin(angle))


def needle(picture, colour=DARK):
    """The value that the needle shows: the middle of what has its colour between hub and ticks. None without one."""
    angles = []
    for x in range(HUB[0] - 100, HUB[0] + 101):
        for y in range(HUB[1] - 100, HUB[1] + 50):
            right, up = x - HUB[0], HUB[1] - y
            if 40 < math.hypot(right, up) < 100 and is_near(picture.getpixel((x, y)), colour):
                angles.append((math.degrees(math.atan2(up, right)) + 90) % 360 - 90)
    return (210 - sum(angles) / len(angles)) / 2.4 if len(angles) > 20 else None


def shows(value, needle_colour=DARK, arc_colour=TEAL):
    """The needle stands at the value; below it the arc has a colour, above it none."""
    def shown(picture):
        got = needle(picture, needle_colour)
        below = [picture.getpixel(on_circle(ARC, at)) for at in range(2, int(value) - 2, 4)]
        above = [picture.getpixel(on_circle(ARC, at)) for at in range(int(value) + 6, 99, 4)]
        return (got is not None and abs(got - value) < 1 and all(is_near(pixel, arc_colour) for pixel in below)
                and all(is_near(pixel, TRACK) for pixel in above))
    shown.__name__ = f"the gauge shows {value}"
    return shown


def live(plc, screen):
    screen.wait("at the start", "start", is_connected, shows(62.5), is_lamp_on, is_switch_off)
    plc.tell("set-register 1 100 80", "set-coil 1 8 0", "set-coil 1 9 1")
    screen.wait("after new values", "changed", is_connected, shows(8.0), is_lamp_off, is_switch_on)
    for value in (0, 1000, 333):
        plc.tell(f"set-register 1 100 {value}")
        screen.wait("a level", "level", shows(value / 10))


def switch(plc, screen):
    screen.click_until(is_switch_off, SWITCH_RIGHT, "after a click", "switched-off")
    same(plc.ask("coils 1 8 2"), "ok 0 0", "the valve is closed, and nothing else")
    screen.click_until(is_switch_on, SWITCH_RIGHT, "after another click", "switched-on")
    same(plc.ask("coils 1 8 2"), "ok 0 1", "the valve is open, and nothing else")


def silence(plc, screen):
    plc.tell("stop-answering 1")
    screen.wait("without an answer", "silent", is_silent, is_colourless, shows(33.3, GREY, GREY), is_lamp_unknown)
    screen.click(SWITCH_RIGHT)
    plc.tell("set-register 1 100 750", "set-coil 1 8 1", "answer 1")
    screen.wait("answered again", "again", is_connected, shows(75.0), is_lamp_on, is_switch_on)
    same(plc.ask("coils 1 9 1"), "ok 1", "a click on a grey switch is none")


def lost_port(plc, screen):
    plc.tell("unplug")
    screen.wait("with the cable pulled", "unplugged", is_silent, is_colourless)
    plc.tell("plug", "vanish 1500", "set-register 1 100 200")
    screen.wait("without a port", "no-port", is_silent, is_colourless)
    screen.wait("with the port back", "port-back", is_connected, shows(20.0))


def end(screen):
    screen.host.terminate()
    same(screen.host.wait(PATIENCE), 0, "exit code after SIGTERM")
    with open(f"{screen.log}.{screen.host.pid}", encoding="utf-8", errors="replace") as file:
        of_driver = [line for line in file if f"file={DRIVER} " in line]
    check(any("dynamically loaded by" in line for line in of_driver), "the driver was loaded by the program")
    check(bool(of_driver) and "destroying link map" in of_driver[-1], "it was unloaded before the program ended")


def refusals(screen):
    for arguments, text in (([], "usage: qt_host DRIVER PORT"), (["/no/such/driver.so", "port"], "/no/such/driver.so"),
                            (["libm.so.6", "port"], "undefined symbol: SetComInfo")):
        environment = {name: value for name, value in screen.environment.items() if not name.startswith("LD_")}
        done = subprocess.run([HOST, *arguments], env=environment, capture_output=True, timeout=PATIENCE, check=False)
        same((done.returncode, done.stdout), (2, b""), f"exit code and output with {arguments}")
        check(text in done.stderr.decode(), f"{arguments} tells {text!r}, told {done.stderr.decode()!r}")


def main():
    os.makedirs(PICTURES, exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        with Plc(SIM, "--link", folder + "/plc") as plc:
            plc.tell("set-register 1 100 625", "set-coil 1 8 1", "set-coil 1 9 0")
            with Screen(folder, plc.port) as screen:
                live(plc, screen)
                switch(plc, screen)
                silence(plc, screen)
                lost_port(plc, screen)
                end(screen)
                refusals(screen)
    return result()


sys.exit(main())
