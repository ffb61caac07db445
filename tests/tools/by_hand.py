"""What a person would type to change every setting of a profile that a command changes, from the rows of `vxtctl profile`."""

CORES = {"multiplier": "--multiplier", "core_voltage": "--voltage"}
DEVICES = {"memory-controller": "memory set", "ht-link": "links set", "clock-gen": "clocks set", "custom-pwm": "voltages set"}


def another(row):
    """The legal value beside the present one, the lower one first; none: there is none."""
    low, high, step = row["limits"]["min"], row["limits"]["max"], row["step"] or 0.025
    near = row["legal"] or [value for value in (row["value"] - step, row["value"] + step) if None not in (low, high) and low <= value <= high]
    gap = lambda value: round(abs(value - row["value"]), 4)
    return min(filter(gap, near), key=gap, default=None)


def changes(rows):
    """Command lines, and the ids that they change."""
    lines, ids = {}, []
    for row in rows:
        device, number, *_, key = row["id"][1:].split("/")
        value = another(row)
        if device == "cpu" and key in CORES:
            line, word = f"vxtctl cpu set --force --yes --core {number}", f"{CORES[key]} {value}"
        elif device in DEVICES and value is not None:
            line, word = f"vxtctl {DEVICES[device]} --force --yes", f"{key}={value}"
        else:
            continue
        lines.setdefault(line, []).append(word)
        ids.append(row["id"])
    return [" ".join([line, *words]) for line, words in lines.items()], ids
