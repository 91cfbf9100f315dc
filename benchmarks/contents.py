"""Bytes that deflate like those of real apps, the same in every run."""

import random

MEGABYTE = 1 << 20


def text(generator, size):
    """Words: about a third of its size when deflated."""
    lexicon = ["".join(generator.choices("etaoinshrdlu", k=generator.randint(2, 9))) for _ in range(3000)]
    weights = [1 / (rank + 1) for rank in range(len(lexicon))]
    return " ".join(generator.choices(lexicon, weights, k=size // 4)).encode()[:size]


def code(generator, size):
    """Like a program: four bytes at a time, some far more often than others; about half of its size."""
    instructions = [generator.randbytes(4) for _ in range(20000)]
    weights = [1 / (rank + 10) for rank in range(len(instructions))]
    return b"".join(generator.choices(instructions, weights, k=size // 4))


class Contents:
    """Slices of a program and of a text, from changing places, and bytes that don't deflate at all.

    Slices overlap, but what they share is further apart than DEFLATE looks back.
    """

    def __init__(self, seed, pool=4 * MEGABYTE):
        self.generator = random.Random(seed)
        self._text = text(self.generator, pool)
        self._code = code(self.generator, pool)

    def texts(self, size):
        return self._slice(self._text, size)

    def program(self, size):
        return self._slice(self._code, size)

    def media(self, size):
        return self.generator.randbytes(size)

    def size(self, median, spread=3):
        """Sizes as files have them: most near the median, a few many times as large."""
        return int(median * spread ** max(-2.5, min(2.5, self.generator.gauss(0, 1))))

    def _slice(self, pool, size):
        start = self.generator.randrange(len(pool))
        pieces = [pool[start : start + size]]
        missing = size - len(pieces[0])
        while missing > 0:
            pieces.append(pool[:missing])
            missing -= len(pieces[-1])
        return b"".join(pieces)
