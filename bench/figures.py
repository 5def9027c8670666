"""What was measured, by name."""


class Figures:
    """Medians of the repetitions of one run of ec_bench, allocations, and instructions per unit."""

    def __init__(self, results, allocations, instructions):
        self.context = results['context']
        self.instructions = instructions
        self.allocations = {name: float(number) for name, number in (line.split() for line in allocations.splitlines())}
        if self.allocations.get('one-block') != 1:
            raise SystemExit('bench: the count of allocations does not count')
        failed = [entry['name'] for entry in results['benchmarks'] if entry.get('error_occurred')]
        if failed:
            raise SystemExit(f'bench: failed: {" ".join(failed)}')
        self._medians = {self._plain(entry['run_name']): entry for entry in results['benchmarks']
                         if entry.get('aggregate_name') == 'median'}

    @staticmethod
    def _plain(name):
        """Without what Google Benchmark adds: iterations:1, repeats:3, manual_time."""
        return '/'.join(part for part in name.split('/') if ':' not in part and part != 'manual_time')

    def ns(self, name):
        """Processor time of one iteration: other programs on the machine do not count."""
        entry = self._medians[name]
        return entry['cpu_time'] * {'ns': 1, 'us': 1e3, 'ms': 1e6}[entry['time_unit']]

    def item_ns(self, name):
        return 1e9 / self._medians[name]['items_per_second']

    def counter(self, name, counter):
        return self._medians[name][counter]

    def text_ns(self, name):
        value = self.ns(name)
        return f'{value:,.0f} ns' if value >= 10 else f'{value:.1f} ns'

    def text_instructions(self, name):
        return f'{self.instructions[name]:.0f}' if name in self.instructions else ''
