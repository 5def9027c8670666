"""Cost against size, as SVG files."""
import matplotlib

matplotlib.use('svg')
# The same figures make the same file.
matplotlib.rcParams['svg.hashsalt'] = 'bench'
matplotlib.rcParams['svg.fonttype'] = 'none'
from matplotlib import pyplot, ticker  # noqa: E402


def draw(folder, name, title, x_label, y_label, lines, logarithmic=True):
    """lines: {label: ([x], [y])}."""
    figure, axes = pyplot.subplots(figsize=(7, 4))
    for label, (x, y) in lines.items():
        axes.plot(x, y, marker='o', markersize=4, label=label)
    if logarithmic:
        axes.set_xscale('log')
    axes.xaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f'{value:,.0f}'))
    axes.yaxis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f'{value:,.0f}'))
    axes.set_ylim(bottom=0)
    axes.set_title(title)
    axes.set_xlabel(x_label)
    axes.set_ylabel(y_label)
    axes.grid(alpha=0.3)
    axes.legend()
    figure.tight_layout()
    figure.savefig(folder / f'{name}.svg', metadata={'Date': None})
    pyplot.close(figure)


def draw_all(figures, folder):
    folder.mkdir(exist_ok=True)
    stored = [125, 1000, 10000, 30000, 60000]
    draw(folder, 'keyed', 'A transaction of 125 registers in keyed mode', 'values stored', 'ns', {
        'driver': (stored, [figures.ns(f'transaction/driver/keyed/{number}') for number in stored]),
        'libmodbus (stores nothing)': (stored, [figures.ns('transaction/libmodbus/125')] * len(stored))})

    numbers = [1000, 10000, 100000]
    lines = {label: (numbers, [figures.item_ns(f'rebuild/{order}/{number}') for number in numbers])
             for order, label in ((0, 'in order'), (1, 'thoroughly mixed'))}
    lines['one QString::toInt'] = (numbers, [figures.item_ns('toInt')] * len(numbers))
    draw(folder, 'rebuild', 'Rebuilding the cyclic list', 'descriptions', 'ns per description', lines)

    calls = [10, 100, 300, 1000]
    draw(folder, 'burst', 'A burst of SetRegisterData calls', 'calls, into an empty queue', 'ns per call',
         {'driver': (calls, [figures.counter(f'burst/{number}', 'each_ns') for number in calls])})

    lines = {}
    for label, name in (('driver, image mode', 'transaction/driver/image/'), ('libmodbus', 'transaction/libmodbus/')):
        sizes = sorted(int(key[len(name):]) for key in figures.instructions if key.startswith(name))
        lines[label] = (sizes, [figures.instructions[name + str(size)] for size in sizes])
    draw(folder, 'instructions', 'Instructions per transaction', 'registers', 'instructions', lines, logarithmic=False)
