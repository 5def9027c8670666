"""Commands that draw: on a terminal of their own, Debian's python3-pyte."""

import fcntl
import os
import pty
import select
import struct
import subprocess
import termios
import time

import pyte

ROWS, COLUMNS = 40, 105
SETTLED = 4  # s, after which everything has been read, also beside other tests
PATIENCE = 20  # s


def feed(master, stream, seconds):
    """What comes within the time; False when the terminal has been closed."""
    end = time.monotonic() + seconds
    while (left := end - time.monotonic()) > 0:
        if select.select([master], [], [], left)[0]:
            try:
                stream.feed(os.read(master, 65536))
            except OSError:
                return False
    return True


def show(place, text):
    """The screen as it stands before q ends it, and what went wrong, or None."""
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack('HHHH', ROWS, COLUMNS, 0, 0))
    screen = pyte.Screen(COLUMNS, ROWS)
    stream = pyte.ByteStream(screen)
    process = subprocess.Popen(['bash', '-c', text], cwd=place.root, env=dict(place.environment, TERM='linux'),
                               stdin=slave, stdout=slave, stderr=slave)
    os.close(slave)
    runs = feed(master, stream, SETTLED)
    shown = '\n'.join(line.rstrip() for line in screen.display)
    if runs:
        os.write(master, b'q')
        if feed(master, stream, PATIENCE):
            process.kill()
    os.close(master)
    code = process.wait(PATIENCE)
    return shown, None if runs and code == 0 else 'does not go on until q, or ends with %d' % code
