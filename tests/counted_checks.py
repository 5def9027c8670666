"""Counted checks of a test that is a program: each prints what failed, and the test goes on."""
failures = []
checks = 0


def check(is_true, what):
    global checks
    checks += 1
    if not is_true:
        failures.append(what)
        print("FAILED:", what)


def same(got, expected, what):
    check(got == expected, f"{what}: expected {expected!r}, got {got!r}")


def result():
    """Prints the count. Returns the exit code."""
    print(f"{checks} checks, {len(failures)} failed")
    return 1 if failures or not checks else 0
