#!/usr/bin/env python3
"""Writes the example programming sequence of a MAX24305 that multiplies a 10 MHz input to a 10 MHz output.

    scripts/make_example_sequence.py > examples/ptp0.ops

Identification is read and checked, then each block of registers is written and read back, with a pause between blocks.
The register values are made up, but shaped as real ones are: identification, control bytes, and dividers that fill
several bytes, low byte first.
"""

from __future__ import annotations

from collections.abc import Iterator

BLOCK_PAUSE_NS = 10_000_000
RESET_PAUSE_NS = 20_000_000


class Sequence:
    """Operations with ascending keys, and comments between them."""

    def __init__(self) -> None:
        self.lines: list[str] = []
        self.key = 0

    def comment(self, text: str) -> None:
        self.lines += ["", f"# {text}"]

    def op(self, kind: str, address: int, value: int) -> None:
        self.lines.append(
            f"Value('Hardware::Max24305::Op', ** {{'key': {self.key}, 'type': '{kind}', "
            f"'address': {address}, 'value': {value}}})"
        )
        self.key += 1

    def block(self, title: str, base: int, values: list[int]) -> None:
        self.comment(f"{title}: 0x{base:04x} to 0x{base + len(values) - 1:04x}, written, then read back")
        for offset, value in enumerate(values):
            self.op("write", base + offset, value)
        for offset, value in enumerate(values):
            self.op("read", base + offset, value)
        self.op("sleep", 0, BLOCK_PAUSE_NS)


def bytes_of(value: int, count: int) -> list[int]:
    return [value >> 8 * i & 0xFF for i in range(count)]


def coefficients(seed: int, count: int) -> Iterator[int]:
    for _ in range(count):
        seed = (seed * 1_103_515_245 + 12_345) & 0x7FFF_FFFF
        yield seed >> 16 & 0xFF


def apll_block(feedback_divider: int, seed: int) -> list[int]:
    control = [0x81, 0x0C, 0x3C, 0x00]
    return control + bytes_of(feedback_divider, 5) + bytes_of(0, 3) + list(coefficients(seed, 20))


def output_block(divider: int, enabled: bool) -> list[int]:
    return [0x81 if enabled else 0x00, 0x02] + bytes_of(divider, 4) + [0x00, 0x10]


def main() -> None:
    sequence = Sequence()
    sequence.lines.append("# MAX24305: input clock 1 at 10 MHz, output clock 1 at 10 MHz.")
    sequence.lines.append("# Written by scripts/make_example_sequence.py.")

    sequence.comment("identification: part number 24305, revision 1")
    for address, value in ((0x30, 0x5E), (0x31, 0xF1), (0x32, 0x01)):
        sequence.op("read", address, value)

    sequence.comment("master clock and soft reset of the digital core")
    sequence.op("write", 0x0000, 0x80)
    sequence.op("sleep", 0, RESET_PAUSE_NS)
    sequence.op("write", 0x0000, 0x00)
    sequence.op("read", 0x0000, 0x00)
    sequence.op("sleep", 0, BLOCK_PAUSE_NS)

    sequence.block("global control", 0x0010, [0x04, 0x00, 0x11, 0x3C, 0x00, 0x02, 0x00, 0x10])
    for index in range(3):
        enable = 0x80 if index == 0 else 0x00
        values = [enable, 0x0A, *bytes_of(10_000_000, 4), 0x28, 0x14]
        sequence.block(f"input clock {index + 1}", 0x0100 + 0x20 * index, values)
    sequence.block("DPLL", 0x0180, [0x21, 0x07, *bytes_of(0x0003_D090, 4), *coefficients(24305, 18)])
    sequence.block("APLL 1", 0x0200, apll_block(375_000_000, 1))
    sequence.block("APLL 2", 0x0240, apll_block(312_500_000, 2))
    for index in range(10):
        values = output_block(375 if index == 0 else 0, index == 0)
        sequence.block(f"output clock {index + 1}", 0x0300 + 0x10 * index, values)

    sequence.comment("start: enable both APLLs, then the output stage")
    for address, value in ((0x0011, 0x03), (0x0012, 0x13), (0x0013, 0x3D)):
        sequence.op("write", address, value)
        sequence.op("read", address, value)
    print("\n".join(sequence.lines))


if __name__ == "__main__":
    main()
