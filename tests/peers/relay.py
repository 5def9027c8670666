"""A serial line of pseudo-terminals: one end for the panel, one for each peer."""
import os
import pty
import select
import threading
import time
import tty


class Relay:
    """Copies each request of the panel to the peer that has its station, and what a peer sends to the panel.

    A peer hears no other peer's requests: Qt SerialBus' slave joins requests that came while it was kept waiting, even
    those to others, and then understands none until the line pauses for longer than a request needs to.

    The relay keeps every terminal open, so that it stays raw and its other side never looks unplugged while no program
    has it.
    """

    ABANDONED = 1.0  # Seconds; a request that has no answer by then has none, and the next byte begins another.

    def __init__(self, stations_of_peers):
        pairs = [pty.openpty() for _ in range(len(stations_of_peers) + 1)]
        self.masters = [master for master, _ in pairs]
        self.terminals = [terminal for _, terminal in pairs]
        for master, terminal in pairs:
            os.set_blocking(master, False)
            tty.setraw(terminal)
        self.peer_of = {station: peer for peer, stations in zip(self.masters[1:], stations_of_peers)
                        for station in stations}
        paths = [os.ttyname(terminal) for terminal in self.terminals]
        self.panel_path, self.peer_paths = paths[0], paths[1:]
        self.panel_end = self.terminals[0]
        self.stop_read, self.stop_write = os.pipe()
        self.thread = threading.Thread(target=self._copy)
        self.thread.start()

    def _copy(self):
        panel = self.masters[0]
        asked, heard_at = None, 0.0
        while True:
            ready, _, _ = select.select([*self.masters, self.stop_read], [], [])
            if self.stop_read in ready:
                return
            for master in ready:
                data = os.read(master, 4096)
                if master != panel:
                    asked = None
                    self._send(panel, data)
                    continue
                # A request may come in parts; only its first byte is the station.
                if asked is None or time.monotonic() - heard_at > self.ABANDONED:
                    asked = self.peer_of.get(data[0])
                heard_at = time.monotonic()
                if asked is not None:
                    self._send(asked, data)

    @staticmethod
    def _send(descriptor, data):
        try:
            os.write(descriptor, data)
        except BlockingIOError:
            pass  # Nobody takes them: lost, as on a wire.

    def close(self):
        os.write(self.stop_write, b"x")
        self.thread.join()
        for descriptor in (*self.masters, *self.terminals, self.stop_read, self.stop_write):
            os.close(descriptor)
