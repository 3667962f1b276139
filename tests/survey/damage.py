"""The damages that are tried on an image."""

import dataclasses

import layout


@dataclasses.dataclass(frozen=True)
class Damage:
    field: str  # what is damaged
    how: str
    name: str  # tells the case from every other of its image
    image: bytes


def _changed(image, offset, value):
    return image[:offset] + bytes([value]) + image[offset + 1 :]


def _of_word(image, word):
    for offset in range(word.offset, word.offset + word.size):
        old = image[offset]
        for bit in range(8):
            yield Damage(word.field, "a bit flipped", f"bit {bit} of 0x{offset:X}", _changed(image, offset, old ^ (1 << bit)))
        for value in (0x00, 0xFF):
            if value != old:
                yield Damage(word.field, f"a byte set to {value:02X}", f"0x{offset:X} = {value:02X}", _changed(image, offset, value))


def _of_blocks(base):
    size, image = base.version.block_size, base.image
    at = lambda i: slice(i * size, (i + 1) * size)
    for start, count in base.sections:
        for i in range(start, start + count):
            yield Damage("a block", "blanked", f"block {i} blank", image[: i * size] + b"\xff" * size + image[(i + 1) * size :])
            for j in range(start, start + count):
                doubled = bytearray(image)
                doubled[at(j)] = image[at(i)]
                if i != j:
                    yield Damage("a block", "over another", f"block {i} over {j}", bytes(doubled))
                doubled[at(i)] = image[at(j)]
                if i < j:
                    yield Damage("two blocks", "swapped", f"blocks {i} and {j} swapped", bytes(doubled))
    for i in range(1, len(image) // size):
        yield Damage("the file", "cut short", f"cut before block {i}", image[: i * size])


def damages_of(base):
    """Every damage of a base image, in a fixed order."""
    for block in range(0, len(base.image), base.version.block_size):
        for word in layout.words_of_block(base.version, base.image, block):
            yield from _of_word(base.image, word)
    yield from _of_blocks(base)
