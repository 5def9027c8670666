"""What pty_soak.py starts, hears and compares."""
import json
import os
import subprocess
import threading

# Faults whose request the host must see go wrong, and those that it must not notice.
TIMEOUTS = ('drop', 'late', 'joined', 'wrong-station', 'wrong-function', 'wrong-byte-count')
LENGTHS = ('extra-after', 'half-then-next')
DAMAGES = TIMEOUTS + LENGTHS + ('crc-swapped', 'bit-flipped', 'truncated', 'exception', 'port-gone')
# Of the resident size: stacks and pages that are touched for the first time. A byte lost a request would be three
# times as much.
MOST_GROWTH = 512 * 1024


class Processes:
    def __init__(self, sim, panel):
        self.sim = subprocess.Popen(sim, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
        self.sim.stdout.readline()
        self.panel_command, self.panel = panel, None
        self.most = {}

    def start_panel(self, take):
        self.panel = subprocess.Popen(self.panel_command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                      bufsize=1)
        self.reader = threading.Thread(target=lambda: [take(json.loads(line)) for line in self.panel.stdout])
        self.reader.start()

    def are_alive(self):
        return self.sim.poll() is None and self.panel.poll() is None

    def codes(self):
        return ', '.join(f'{name} {"runs" if process.poll() is None else f"has ended with {process.poll()}"}'
                         for name, process in (('ecsim', self.sim), ('ecpanel', self.panel)))

    def tell_sim(self, command):
        self.sim.stdin.write(command + '\n')
        answer = self.sim.stdout.readline().split()
        if not answer or answer[0] != 'ok':
            raise RuntimeError(f'ecsim: {command}: {" ".join(answer)}')
        return answer[1:]

    def tell_panel(self, line):
        self.panel.stdin.write(line + '\n')

    def cells(self, kind, first, count):
        values = []
        for start in range(first, first + count, 100):
            values += self.tell_sim(f'{kind} 1 {start} {min(100, first + count - start)}')
        return [int(value) for value in values]

    def statistics(self):
        return {key: int(value) for key, value in (field.split('=') for field in self.tell_sim('statistics'))}

    def stop_panel(self, number):
        self.panel.send_signal(number)
        code = self.panel.wait(timeout=30)
        self.reader.join()
        return code

    def stop_sim(self):
        self.tell_sim('quit')
        return self.sim.wait(timeout=30)

    def kill(self):
        for process in (self.panel, self.sim):
            if process is not None and process.poll() is None:
                process.kill()
                process.wait()

    def sample_memory(self, is_warm):
        for name, process in (('ecpanel', self.panel), ('ecsim', self.sim)):
            with open(f'/proc/{process.pid}/statm') as file:
                resident = int(file.read().split()[1]) * os.sysconf('SC_PAGESIZE')
            most = self.most.setdefault(name, [0, 0, 0])
            most[is_warm] = max(most[is_warm], resident)
            most[2] = resident

    def memory_text(self):
        return ', '.join(f'{name} {most[2] // 1024} kB' for name, most in self.most.items())

    def memory_findings(self):
        for name, (cold, warm, _) in self.most.items():
            yield (0 < cold and warm - cold <= MOST_GROWTH,
                   f'{name}: at most {cold // 1024} kB in the first quarter, then {warm // 1024} kB')


class Events:
    """What the panel prints."""

    def __init__(self, steady, live, write_ended):
        self.steady, self.live, self.write_ended = steady, live, write_ended
        self.values = self.writes = self.lost = 0
        self.states, self.wrong, self.twice, self.end = {}, [], [], None
        self.last_live, self.ids = 0, set()

    def take(self, event):
        kind = event.get('event')
        if kind is None:
            self.take_value(event)
        elif kind == 'write':
            if event['id'] in self.ids:
                self.twice.append(event['id'])
            self.ids.add(event['id'])
            self.states[event['state']] = self.states.get(event['state'], 0) + 1
            self.write_ended(event)
            self.writes += 1
        elif kind == 'lost':
            self.lost += event['events']
        elif kind == 'error':
            self.wrong.append(event)
        elif kind == 'end':
            self.end = event

    def take_value(self, event):
        if event['quality'] != 'good':
            return
        self.values += 1
        tag, value = event['tag'], event['value']
        if tag in self.steady and value != self.steady[tag]:
            self.wrong.append(f'{tag}: {value}')
        if tag == self.live:
            if value < self.last_live:
                self.wrong.append(f'{tag} went back from {self.last_live} to {value}')
            self.last_live = value


def fault_findings(counted, report):
    """The host's counters against the faults that the simulated PLC has done. Pairs of right or wrong, and a text."""
    faults, seen = report['faults'], report['statistics']
    done = lambda kinds: sum(faults.get(kind, 0) for kind in kinds)
    bad = sum(counted[kind] for kind in ('timeouts', 'crc', 'length', 'exceptions', 'port'))
    unheard = counted['requests'] - seen['requests']
    yield (0 <= unheard <= done(['port-gone']) and seen['replies'] == seen['requests'],
           f'{counted["requests"]} requests sent, {seen["requests"]} heard by the PLC and answered')
    yield (counted['exceptions'] == done(['exception']), f'{counted["exceptions"]} exceptions, as many as were done')
    for kind, names in (('timeouts', TIMEOUTS), ('crc', ['crc-swapped']), ('length', LENGTHS)):
        yield (counted[kind] >= done(names) > 0, f'{counted[kind]} {kind}, {done(names)} done')
    # Noise may hit a later reply, a half reply the next but one, and a busy machine makes a reply late now and then.
    spare = sum(faults.values()) - done(DAMAGES) + counted['requests'] // 2000 + 20
    without_port = bad - counted['port']
    expected = done(DAMAGES) - done(['port-gone'])
    yield (expected <= without_port <= expected + spare,
           f'{without_port} requests went wrong by {expected} damaging faults of {sum(faults.values())}')
