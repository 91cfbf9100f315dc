#!/usr/bin/env python3
"""Makes what the benchmarks work on, the same bytes every time.

    makeData.py package FOLDER    200 MB as an application package holds them
    makeData.py files FOLDER      60,000 small files in 600 folders
"""

import os
import random
import sys

MEGABYTE = 1 << 20


def write(folder, name, content):
    path = os.path.join(folder, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)


def words(generator, size):
    """Text: a third of its size when deflated."""
    lexicon = ["".join(generator.choices("etaoinshrdlu", k=generator.randint(2, 9))) for _ in range(3000)]
    weights = [1 / (rank + 1) for rank in range(len(lexicon))]
    text = " ".join(generator.choices(lexicon, weights, k=size // 4))
    return text.encode()[:size]


def code(generator, size):
    """Like a program: four bytes at a time, some far more often than others; half of its size."""
    instructions = [generator.randbytes(4) for _ in range(20000)]
    weights = [1 / (rank + 10) for rank in range(len(instructions))]
    return b"".join(generator.choices(instructions, weights, k=size // 4))


def make_package(folder):
    generator = random.Random(1)
    app = os.path.join(folder, "Payload", "Sample.app")
    program, text = code(generator, 5 * MEGABYTE), words(generator, 4 * MEGABYTE)
    # Repetitions are further apart than DEFLATE looks back.
    write(app, "Sample", program * 8)
    for index in range(6):
        write(app, f"Frameworks/F{index}.framework/F{index}", program[index * MEGABYTE // 2 :])
    for index in range(10):
        write(app, f"Assets/movie{index}.mp4", generator.randbytes(5 * MEGABYTE))
    for index in range(1500):
        write(app, f"Assets/images/{index % 50}/image{index}.png", generator.randbytes(20000))
    for index in range(3000):
        start = generator.randrange(3 * MEGABYTE)
        size = generator.randrange(20000)
        write(app, f"Base.lproj/{index % 100}/text{index}.json", text[start : start + size])
    for index in range(8):
        write(app, f"data{index}.json", text)


def make_files(folder):
    generator = random.Random(2)
    text = words(generator, MEGABYTE)
    for index in range(60000):
        start = generator.randrange(MEGABYTE - 4000)
        size = generator.randrange(2000)
        write(folder, f"folder {index % 600}/file {index}.txt", text[start : start + size])


if __name__ == "__main__":
    {"package": make_package, "files": make_files}[sys.argv[1]](sys.argv[2])
