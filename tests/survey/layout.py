"""Where the headers, slots and length words of an image lie: a reading of the layout for the damage survey that shares no
code with the library."""

import dataclasses

HEADER_FIELDS = {"signature": (0, 4), "format version": (4, 4), "wear counter": (8, 4), "block state": (12, 2), "header, erased": (14, 18)}
HEADER_SIZE = 32


@dataclasses.dataclass(frozen=True)
class Version:
    number: int
    word: int
    block_size: int
    location_mask: int
    scale_offset: int  # of the length word behind base + 4 * location


VERSIONS = {
    1: Version(1, 2, 0x10000, 0x3FFF, 2),
    2: Version(2, 4, 0x20000, 0x3FFFFFFF, 0),
    3: Version(3, 4, 0x20000, 0x03FFFFFF, 0),
}


@dataclasses.dataclass(frozen=True)
class Word:
    """A range of bytes that means one thing."""

    field: str
    offset: int  # in the codeplug
    size: int
    block: int  # offset of its block


def is_signed(image, base):
    return image[base : base + 4] == b"Tarq"


def words_of_block(version, image, base):
    """The words of a block's header, of its slots and of the records that these lead to."""
    words = [Word(name, base + at, size, base) for name, (at, size) in HEADER_FIELDS.items()]
    slot = base + HEADER_SIZE
    end = base + version.block_size
    while slot + 4 + version.word <= end and image[slot : slot + 2] != b"\xff\xff":
        words += [Word("slot: type", slot, 2, base), Word("slot: ID", slot + 2, 2, base), Word("slot: location word", slot + 4, version.word, base)]
        location = int.from_bytes(image[slot + 4 : slot + 4 + version.word], "big") & version.location_mask
        length_word = base + 4 * location + version.scale_offset
        if base + HEADER_SIZE <= length_word <= end - version.word:
            words.append(Word("length word", length_word, version.word, base))
        slot += 4 + version.word
    # The word that ends the list.
    words.append(Word("end of the slots", slot, 2, base))
    return sorted(set(words), key=lambda word: (word.offset, word.field))
