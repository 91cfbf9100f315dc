"""The results as JSON, and as one table."""

import json
import os

MEBIBYTE = 1 << 20


def toolResults(tool, ours, single):
    seconds = tool.median("elapsed")
    least, most = tool.range("elapsed")
    return {
        "name": tool.name,
        "kind": tool.kind,
        "seconds": seconds,
        "least": least,
        "most": most,
        "processorSeconds": tool.median("processor"),
        "ratio": seconds / ours.median("elapsed"),
        "ratioToOneThread": seconds / single.median("elapsed"),
        "peakMemory": int(tool.median("memory")),
        "peakDisk": tool.disk,
        "secondsOnDisk": tool.onDisk,
    }


def results(rows, skipped, runs):
    """Ratios are the other tool's time over ours: above 1, ours is faster."""
    works = []
    for row in rows:
        ours = row.tools[0]
        single = next((tool for tool in row.tools if tool.name.endswith("one thread")), ours)
        works.append({"row": row.name, "work": row.title,
                      "tools": [toolResults(tool, ours, single) for tool in row.tools]})
    return {"cores": len(os.sched_getaffinity(0)), "runs": runs, "works": works, "skipped": skipped}


def write(found, path):
    with open(path, "w", encoding="utf-8") as file:
        json.dump(found, file, indent=1)
        file.write("\n")


def duration(seconds):
    if seconds is None:
        return ""
    return f"{seconds * 1000:.2f} ms" if seconds < 0.02 else f"{seconds:.3f} s"


def cells(work, tool):
    isLimit = tool["kind"] == "limit"
    ratios = ["", ""] if isLimit else [f"{tool['ratio']:.2f}", f"{tool['ratioToOneThread']:.2f}"]
    return [
        work["work"],
        f"*{tool['name']}*" if isLimit else tool["name"],
        duration(tool["seconds"]),
        f"{duration(tool['least'])} – {duration(tool['most'])}",
        duration(tool["processorSeconds"]),
        *ratios,
        f"{tool['peakMemory'] / MEBIBYTE:.0f}",
        "" if not work["row"].split("-")[-1] in ("typical", "many", "huge") else f"{tool['peakDisk'] / MEBIBYTE:.0f}",
        duration(tool["secondsOnDisk"]),
    ]


def table(found):
    """A table that is readable as it is, and as Markdown."""
    head = ["work", "tool", "time", "least – most", "processor", "over ours", "over one thread",
            "memory, MiB", "disk, MiB", "on the disk"]
    lines = [cells(work, tool) for work in found["works"] for tool in work["tools"]]
    widths = [max(len(line[column]) for line in [head, *lines]) for column in range(len(head))]
    rule = ["-" * width if column < 2 else "-" * (width - 1) + ":" for column, width in enumerate(widths)]

    def row(line):
        padded = (text.ljust(width) if column < 2 else text.rjust(width)
                  for column, (text, width) in enumerate(zip(line, widths)))
        return "| " + " | ".join(padded) + " |"

    title = (f"{found['cores']} cores, medians of {found['runs']} rounds in which the tools take turns; "
             "in memory unless it says otherwise. Ratios: the tool's time over ours.")
    return "\n".join([title, "", row(head), row(rule), *map(row, lines)])
