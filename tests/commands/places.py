"""What commands of the pages need around them: a copy of the sources, files, a simulated PLC."""

import os
import re
import shutil
import subprocess

SHOWN_PORT = '/tmp/ecsim'  # in the pages; here it is a file of the command's own place


class Place:
    """A fresh copy of the sources, as a reader has them, with line.toml and tags.csv in the current folder."""

    def __init__(self, source, built, folder):
        self.source, self.built = source, built
        self.root = os.path.join(folder, 'sources')
        self.port = os.path.join(folder, 'plc')
        home = os.path.join(folder, 'home')
        os.mkdir(home)
        ignored = shutil.ignore_patterns('.git', 'build', '__pycache__')
        shutil.copytree(source, self.root, ignore=ignored, symlinks=True)
        shutil.copy(os.path.join(source, 'examples/tags.csv'), self.root)
        settings = self.read('examples/line.toml')
        settings = re.sub(r'port = "[^"]*"', 'port = "%s"' % self.port, settings)
        # A busy machine is no dead PLC.
        self.write('line.toml', re.sub(r'reply_timeout_ms = \d+', 'reply_timeout_ms = 3000', settings))
        os.mkdir(os.path.join(self.root, 'build'))
        os.symlink(built, os.path.join(self.root, 'build/release'))
        self.environment = dict(os.environ, HOME=home, PATH=built + ':' + os.environ['PATH'], LC_ALL='C.UTF-8')
        self.plc = None

    def read(self, name):
        with open(os.path.join(self.root, name), encoding='utf-8') as file:
            return file.read()

    def write(self, name, text):
        path = os.path.join(self.root, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, 'w', encoding='utf-8') as file:
            file.write(text)

    def forget_build(self):
        """For commands that build for themselves."""
        os.unlink(os.path.join(self.root, 'build/release'))

    def quiet(self, *command):
        subprocess.run(command, cwd=self.root, env=self.environment, check=True, stdout=subprocess.DEVNULL)

    def start_plc(self, more):
        """A text has further options, or a command for it."""
        more = more if isinstance(more, str) else ''
        command = ['ecsim', 'run', '--pty', '--link', self.port, '--values', 'examples/plc.toml', '--pace', '--baud',
                   '19200', '--parity', 'none', '--stop-bits', '2', '--stdin', '--quiet']
        command += more.split() if more.startswith('--') else []
        self.plc = subprocess.Popen(command, cwd=self.root, env=self.environment, text=True,
                                    stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        if not self.plc.stdout.readline().startswith('ready'):
            raise SystemExit('the simulated PLC does not start')
        if more and not more.startswith('--'):
            self.plc.stdin.write(more + '\n')
            self.plc.stdin.flush()
            answer = self.plc.stdout.readline()
            if not answer.startswith('ok'):
                raise SystemExit('the simulated PLC says ' + answer)

    def end(self):
        if self.plc:
            self.plc.stdin.close()
            self.plc.wait(30)


# ---- Files that a page says the reader has: by their names in list.toml ----

def toolchain(place):
    place.write('your-toolchain.cmake', '# this machine\n')


def man_page(place):
    folder = os.path.join(place.root, 'man')
    os.makedirs(folder + '/man1')
    shutil.copy(os.path.join(place.built, 'packaging/ecpanel.1.gz'), folder + '/man1')
    place.environment.update(MANPATH=folder, MANPAGER='cat')


def host_program(place):
    """The first program of the interface's page."""
    codes = re.findall(r'```cpp\n(.*?)```', place.read('docs/interface.md'), re.S)
    shutil.rmtree(os.path.join(place.root, 'host'))  # the reader's program is made under this name
    place.write('host.cpp', next(code for code in codes if 'int main(' in code))


def installed(place):
    prefix = os.path.join(place.root, 'prefix')
    place.quiet('cmake', '--install', place.built, '--prefix', prefix)
    found = [folder for folder, _, files in os.walk(prefix) if 'emerson_ec_series.pc' in files]
    place.environment['PKG_CONFIG_PATH'] = found[0]


def cable_rules(place):
    codes = re.findall(r'```text\n(# a bad cable\n.*?)```', place.read('docs/simulator.md'), re.S)
    place.write('cable.txt', codes[0])


def plant(place):
    for name in ('line.toml', 'tags.csv'):
        place.write('plant/' + name, place.read(name))


def sparse_tags(place):
    rows = ['%s,7,%d,,,,,,,' % (name, address) for name, address in zip('abcd', (0, 30, 60, 90))]
    place.write('tags.csv', '\n'.join(['name,type,address,station,count,format,order,scale,unit,rw'] + rows) + '\n')


def wrong_values(place):
    place.write('plc.toml', '[[station]]\nnumber = 1\n[station.registers]\n8256 = 1\n100 = 70000\n')


def wrong_tags(place):
    place.write('wrong.csv', 'name,type,address,station,count,format,order,scale,unit,rw\nstart,0,18,,,,,,,\n'
                'lamp,1,10,,,,,,,\nspeed,7,100,,,,,,,\nlevel,7,101,3,,,,,,\npump,2,8,,,,,,,\nready,0,20,,,,,,,rw\n')


def several_stations(place):
    """Of which the simulated PLC has two."""
    place.write('tags.csv', 'name,type,address,station,count,format,order,scale,unit,rw\n'
                + ''.join('level%d,7,100,%d,,,,,,\n' % (number, number) for number in (1, 2, 3)))
    settings = re.sub(r'(?m)^station = .*\n', '', place.read('line.toml')).replace('"one"', '"several"', 1)
    settings = re.sub(r'reply_timeout_ms = \d+', 'reply_timeout_ms = 300', settings)
    place.write('line.toml', re.sub(r'retries = \d+', 'retries = 0', settings))


def field_trace(place):
    place.quiet('ecpanel', 'read', '--quiet', '--trace', 'field.trace')


FILES = {'your-toolchain.cmake': toolchain, 'man page': man_page, 'host.cpp': host_program, 'installed': installed,
         'cable.txt': cable_rules, 'plant': plant, 'sparse tags': sparse_tags, 'wrong plc.toml': wrong_values,
         'wrong tags': wrong_tags, 'several stations': several_stations, 'field.trace': field_trace}
