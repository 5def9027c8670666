#!/usr/bin/env python3
"""Hours of line time over a pseudo-terminal without pacing: ecpanel against ecsim with faults, and nothing is lost.

Usage: pty_soak.py BUILD_DIR [--hours H] [--seed N] [--forget] [--kill]

Line time is what "ecpanel plan" would say: bytes of requests and replies at 19200 baud, and two silences a request.
--forget takes a write back behind the panel's back at the end; --kill ends the panel on the way. Both must be found.
"""
import argparse
import json
import os
import random
import signal
import subprocess
import sys
import tempfile
import time

from pty_watch import Events, Processes, fault_findings

BAUD, CHARACTER_BITS = 19200, 11
SILENCE = 3.5 * CHARACTER_BITS / BAUD
SETTINGS = '''[line]
port = "{port}"
baud = {baud}
parity = "none"
stop_bits = 2
reply_timeout_ms = 300
late_window_ms = 700
reopen_first_ms = 50
{silence}
[driver]
path = "{build}/libemerson_ec_series.so"
max_block_len = 42
retries = 2
stations = "one"
station = 1
[values]
stale_after_ms = 60000
'''
HEADER = 'name,type,address,station,count,format,order,scale,unit,rw\n'
# Values that nobody changes, each with where it lies in the PLC.
STEADY = {'words': ('7,1000,,420,uint16,,,,r', 'registers', 1000, 420),
          'upper': ('8,300,,420,uint16,,,,r', 'registers', 12044, 420),
          'large': ('100,5000,,420,uint16,,,,r', 'registers', 18000, 420),
          'bits': ('2,0,,640,bit,,,,r', 'coils', 2000, 640)}
LIVE = ('live', '12,90,,1,uint32,,,,r')
# Values that are written: the most a part of them is, where they lie in the PLC, and the requests of a write with its
# reading back.
WRITTEN = {'set': ('7,100,,1,uint16,,,,rw', 65535, [('registers', 100, 1)], 2),
           'row': ('7,110,,12,uint16,,,,rw', 65535, [('registers', 110, 12)], 2),
           'over': ('8,250,,10,uint16,,,,rw', 65535, [('registers', 8250, 6), ('registers', 12000, 4)], 4),
           'coil': ('1,10,,1,bit,,,,rw', 1, [('coils', 8, 1)], 2),
           'steps': ('4,1020,,8,bit,,,,rw', 1, [('coils', 7020, 4), ('coils', 31000, 4)], 10),
           'count': ('10,0,,2,int16,,,,rw', 32767, [('registers', 9500, 2)], 2)}
FAULTS = ['drop', 'delay,ms=10', 'late,ms=500', 'duplicate', 'crc-swapped', 'bit-flipped', 'truncated', 'extra-before',
          'extra-after', 'noise', 'wrong-station', 'wrong-function', 'wrong-byte-count', 'exception', 'half-then-next',
          'joined', 'echo']
# Of the requests; half as many when there are enough of them. Time is real here: a simulated PLC that a busy machine
# keeps waiting for more than time-out and late window together answers the next request with this one's values, and no
# host could tell. So both are long, and each fault takes its time.
FAULT_RATE, PORT_RATE, LONG = 0.0001, 0.00001, 2
WRITES_A_SECOND = 50


def line_seconds(requests, data_bytes):
    return data_bytes * CHARACTER_BITS / BAUD + requests * 2 * SILENCE


class Soak:
    def __init__(self, options, folder):
        self.build, self.hours, self.forgets = os.path.abspath(options.build), options.hours, options.forget
        self.kills = options.kill
        self.seed, self.random = options.seed, random.Random(options.seed)
        self.folder, self.port = folder, os.path.join(folder, 'plc')
        self.passed, self.failed = 0, 0
        self.sent = self.short_requests = 0
        self.groups = {tag: [] for tag in WRITTEN}

    def check(self, is_right, text):
        self.passed += bool(is_right)
        self.failed += not is_right
        print(('  ok     ' if is_right else '  WRONG  ') + text, flush=True)

    def file(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, 'w') as file:
            file.write(text)
        return path

    def write_files(self):
        tags = self.file('tags.csv', HEADER + '\n'.join(
            [f'{name},{row[0]}' for name, row in {**STEADY, **WRITTEN}.items()] + [','.join(LIVE)]) + '\n')
        quick = self.file('line.toml', SETTINGS.format(port=self.port, baud=921600, silence='silence_us = 0',
                                                       build=self.build))
        real = self.file('plan.toml', SETTINGS.format(port=self.port, baud=BAUD, silence='', build=self.build))
        self.files = ['--settings', quick, '--tags', tags]
        command = [f'{self.build}/ecpanel', 'plan', '--json', '--settings', real, '--tags', tags]
        plan = json.loads(subprocess.run(command, check=True, capture_output=True).stdout)
        self.mean_request = plan['pass_ms'] / 1000 / plan['requests']
        own = line_seconds(plan['requests'], plan['line_bytes'])
        self.check(abs(own - plan['pass_ms'] / 1000) < 0.001 * own,
                   f'line time as planned: a pass of {plan["requests"]} requests takes {plan["pass_ms"]:.1f} ms, '
                   f'{1000 * self.mean_request:.1f} ms each')

    def start(self):
        share = 0.5 if self.hours > LONG else 1
        rules = [f'{fault},rate={FAULT_RATE * share}' for fault in FAULTS]
        # Each kind once for certain: chance may leave one out of a short run.
        rules += [f'{fault},first={number},last={number}' for number, fault in zip(range(2000, 15000, 500), FAULTS)]
        rules += ['port-gone,first=15000,last=15000,ms=300', f'port-gone,rate={PORT_RATE * share},ms=300']
        self.ledger = os.path.join(self.folder, 'ledger.jsonl')
        sim = [f'{self.build}/ecsim', 'run', '--pty', '--link', self.port, '--live', 'counter32@90', '--stdin',
               '--quiet', '--seed', str(self.seed), '--ledger', self.ledger]
        for rule in rules:
            sim += ['--fault', rule]
        self.processes = Processes(sim, [f'{self.build}/ecpanel', 'run', '--stdin', '--json', '--quiet'] + self.files)
        self.steady = {tag: self.processes.cells(*row[1:]) for tag, row in STEADY.items()}
        self.held = {tag: [{value} for value in self.plc_values(tag)] for tag in WRITTEN}
        self.events = Events(self.steady, LIVE[0], self.write_ended)
        self.processes.start_panel(self.events.take)

    def plc_values(self, tag):
        return [value for place in WRITTEN[tag][2] for value in self.processes.cells(*place)]

    def write_ended(self, event):
        values = event['value'] if isinstance(event['value'], list) else [event['value']]
        self.groups[event['tag']].append((event['id'], event['state'], values))

    def write(self):
        tag = self.random.choice(list(WRITTEN))
        _, most, places, requests = WRITTEN[tag]
        count = sum(place[2] for place in places)
        # Sometimes the same tag again before the first is out.
        for _ in range(3 if self.random.random() < 0.05 else 1):
            values = ','.join(str(self.random.randint(0, most)) for _ in range(count))
            self.processes.tell_panel(f'{tag}={values}')
            self.sent += 1
            self.short_requests += requests

    def run(self):
        began = time.monotonic()
        next_look = next_line = began
        wanted = self.hours * 3600
        passed_time = 0
        while passed_time < wanted:
            if self.kills and passed_time > 0:
                self.processes.panel.kill()
            if not self.processes.are_alive():
                raise BrokenPipeError
            self.write()
            time.sleep(1 / WRITES_A_SECOND)
            if time.monotonic() < next_look:
                continue
            requests = self.processes.statistics()['requests']
            # At least: without those of the writes, which are short.
            passed_time = (requests - self.short_requests) * self.mean_request
            self.processes.sample_memory(passed_time > wanted / 4)
            next_look = time.monotonic() + 0.25
            if time.monotonic() < next_line:
                continue
            next_line = time.monotonic() + max(2, min(30, (time.monotonic() - began) / 5))
            print(f'  {time.monotonic() - began:6.1f} s: {requests} requests, {passed_time / 3600:.2f} h of line time, '
                  f'{self.sent} writes, {self.processes.memory_text()}', flush=True)
        self.seconds = time.monotonic() - began

    def run_to_the_end(self):
        """False when one of the programs has ended by itself."""
        try:
            self.run()
            self.finish()
        except (OSError, RuntimeError, subprocess.TimeoutExpired) as error:
            self.check(False, f'both programs run on: {self.processes.codes()} {error}')
            return False
        return True

    def finish(self):
        self.processes.tell_sim('clear-faults')
        deadline = time.monotonic() + 20
        while self.events.writes < self.sent and time.monotonic() < deadline:
            time.sleep(0.1)
        self.processes.sample_memory(True)
        panel_code = self.processes.stop_panel(signal.SIGINT)
        if self.forgets:
            self.processes.tell_sim('set-register 1 100 %d' % (self.processes.cells('registers', 100, 1)[0] ^ 1))
        self.compare_plc()
        sim_code = self.processes.stop_sim()
        self.check(panel_code == 130 and sim_code == 0, f'exit codes {panel_code} and {sim_code}, expected 130 and 0')

    def compare_plc(self):
        """The PLC has what the last answered write of a tag said, or what one that failed behind it said."""
        wrong = []
        for tag, group in self.groups.items():
            possible = self.held[tag]
            for _, state, values in sorted(group):
                if state in ('confirmed', 'done'):
                    possible = [{value} for value in values]
                elif state == 'failed' or tag in ('over', 'steps', 'row', 'count'):
                    possible = [one | {value} for one, value in zip(possible, values)]
            # Registers are shown unsigned.
            has = self.plc_values(tag)
            if not all(value in {one & 0xFFFF for one in units} for value, units in zip(has, possible)):
                wrong.append(f'{tag} has {has}')
        self.check(not wrong, f'the PLC has what was written to {len(WRITTEN)} tags {"; ".join(wrong)}')

    def compare(self):
        end = self.events.end
        if end is None:
            self.check(False, 'the panel told its counters at the end')
            return
        counted, writes = end['counters']['all'], end['writes']
        with open(self.ledger) as file:
            report = json.loads(file.read().splitlines()[-1])
        seconds = line_seconds(counted['requests'], counted['bytes_sent'] + counted['bytes_received'])
        self.check(seconds >= self.hours * 3600,
                   f'{seconds / 3600:.2f} h of line time, {counted["requests"]} requests in {self.seconds:.0f} s')
        for is_right, text in fault_findings(counted, report):
            self.check(is_right, text)
        states = {state: number for state, number in writes.items() if state not in ('writes', 'open')}
        self.check(writes['writes'] == self.sent == sum(states.values()) and writes['open'] == 0,
                   f'{self.sent} writes, all accounted: {states}')
        self.check(self.events.states == {state: number for state, number in states.items() if number > 0}
                   and not self.events.twice, 'each write told once, in the states that are counted')
        self.check(not self.events.wrong and self.events.values > 0,
                   f'{self.events.values} values shown and right {self.events.wrong[:3]}')
        self.check(self.events.lost == 0, f'{self.events.lost} events lost')
        for is_right, text in self.processes.memory_findings():
            self.check(is_right, text)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('build')
    parser.add_argument('--hours', type=float, default=24)
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--forget', action='store_true')
    parser.add_argument('--kill', action='store_true')
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        soak = Soak(options, folder)
        soak.write_files()
        soak.start()
        try:
            if soak.run_to_the_end():
                soak.compare()
        finally:
            soak.processes.kill()
    print(f'over a pseudo-terminal: {soak.passed} passed, {soak.failed} failed')
    return 1 if soak.failed else 0


if __name__ == '__main__':
    sys.exit(main())
