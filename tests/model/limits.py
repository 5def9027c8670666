"""Which limits the model has come to, and how often. Counts only: nothing in the model depends on it."""

from collections import Counter

met = Counter()
