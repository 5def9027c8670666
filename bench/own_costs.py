"""Reads from a dump of callgrind how many instructions each function took for itself."""
import re


def own_costs(dump):
    """{function: instructions}, most first. Names stand in a dump once and are a number from then on."""
    names, costs, function, skip = {}, {}, None, False
    for line in dump.splitlines():
        if match := re.match(r'fn=\((\d+)\)(?: (.*))?', line):
            if match.group(2):
                names[match.group(1)] = match.group(2)
            function = names[match.group(1)]
        elif match := re.match(r'cfn=\((\d+)\) (.*)', line):
            names[match.group(1)] = match.group(2)
        elif line.startswith('calls='):
            skip = True  # the next line is the callee's cost
        elif function and re.match(r'[+*\d-]', line):
            if not skip:
                costs[function] = costs.get(function, 0) + int(line.split()[1])
            skip = False
    return dict(sorted(costs.items(), key=lambda item: -item[1]))


def short_name(function):
    """Without arguments, namespaces without a name, and the mark of a recursive call."""
    return re.sub(r"\(anonymous namespace\)::|'\d+$", '', function).split('(')[0]
