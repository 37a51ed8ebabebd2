#!/usr/bin/env python3
"""make-wake-model.py PACKAGED_MODEL FOLDER
Writes the model with which PocketSphinx spots the name: a copy of the packaged American English acoustic model, and
dictionaries and language models of our own. These contain the name in its pronunciations, and the most common English
words as decoys: sound that fits one of the decoys better isn't the name.

"wake.dict" and "wake.lm" are for continuous listening and accept too much. "look.dict" has fewer words and serves a
second pass over the candidates: one decoding with "named.lm", where the name is as likely as possible, and one with
"nameless.lm", which lacks the name. The difference between the two scores decides.

PACKAGED_MODEL is the folder "en-us" of the Debian package pocketsphinx-en-us. Word frequencies and pronunciations come
from that package's language model and dictionary. bench/README.md says how the numbers were chosen."""
import math
import os
import shutil
import struct
import sys

NAMES = {
    "velu": ["V EH L UW", "V EY L UW", "V EH L Y UW"],
    "vellu": ["V AH L UW", "V IH L UW"],
    "belu": ["B EH L UW"],
}
# Log10 of the name's probability: far higher than in any text.
WAKE_LOG10 = -1.0
LOOK_LOG10 = -0.3
# How many of the most common words each model has. Words that sound like the name are added: those with a part whose
# distance from the name is at most NEAR. Words less common than RAREST are left out, because they are rather other
# spellings of the name than words that people say.
COMMONEST = {"wake": 8000, "look": 2000}
NEAR = 1.0
RAREST = -6.2
# Distances of single sounds from those of the name.
CONSONANT = {"V": 0, "F": .3, "B": .3, "DH": .4, "D": .5, "TH": .6, "W": .6, "P": .7}
VOWEL = {"EH": 0, "IH": .2, "EY": .2, "AE": .2, "AH": .3, "IY": .5, "UH": .5, "AW": .6, "AY": .6, "ER": .6, "OW": .6}
ENDING = {"UW": 0, "UH": .3, "OW": .3, "AH": .4, "IY": .5, "IH": .5, "Y": .5, "ER": .5, "AA": .6, "EH": .6, "AO": .6}
GLIDE = .2  # added for a Y before the ending
NO_ENDING = .9
ACOUSTIC_FILES = ["feat.params", "mdef", "means", "noisedict", "sendump", "transition_matrices", "variances"]


def read_unigrams(path):
    """Returns each word of a binary language model with the log10 of its probability."""
    with open(path, "rb") as file:
        data = file.read()
    magic = b"Trie Language Model"
    if not data.startswith(magic):
        raise SystemExit(f"make-wake-model.py: {path} isn't a language model of the expected kind")
    order = data[len(magic)]
    counts = struct.unpack_from(f"<{order}I", data, len(magic) + 1)
    # The quantisation type is followed by its tables: 65536 probabilities for each order above one, and as many back-off
    # weights for each of these orders but the highest.
    unigrams = len(magic) + 1 + 4 * order + 4 + 4 * 65536 * (2 * (order - 2) + 1)
    # The file ends with the length of all words, then the words, each with a terminating zero.
    at = next(at for at in range(len(data) - 4, 0, -1) if struct.unpack_from("<I", data, at)[0] == len(data) - at - 4)
    words = data[at + 4:].split(b"\0")[:counts[0]]
    unit = math.log10(1.0001)  # the base of the library's logarithms
    return {word.decode(): struct.unpack_from("<f", data, unigrams + 12 * index)[0] * unit
            for index, word in enumerate(words)}


def read_dictionary(path):
    """Returns each word with all its pronunciations."""
    spoken = {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            word, _, sounds = line.strip().partition(" ")
            spoken.setdefault(word.split("(")[0], []).append(sounds.strip())
    return spoken


def distance(sounds):
    """Returns the distance of the part of a word that sounds most like the name. The part must have the name's L."""
    nearest = math.inf
    for consonant, vowel, middle, *rest in (sounds[at:] for at in range(len(sounds) - 2)):
        if consonant in CONSONANT and vowel in VOWEL and middle == "L":
            glides = len(rest) > 1 and rest[0] == "Y"
            ending = ENDING.get(rest[glides], math.inf) if rest else NO_ENDING
            nearest = min(nearest, CONSONANT[consonant] + VOWEL[vowel] + GLIDE * glides + ending)
    return nearest


def choose_words(probabilities, spoken, commonest):
    """Returns the most common words and those that sound like the name, without those pronounced exactly like it."""
    names = {sounds for ways in NAMES.values() for sounds in ways}
    known = [word for word in sorted(probabilities, key=lambda word: (-probabilities[word], word))
             if word in spoken and word not in NAMES and not names.intersection(spoken[word])]
    near = {word for word in known if probabilities[word] > RAREST
            and min(distance(sounds.split()) for sounds in spoken[word]) <= NEAR}
    return near.union(known[:commonest])


def write_dictionary(path, entries):
    with open(path, "w", encoding="utf-8") as file:
        for word in sorted(entries):
            for number, sounds in enumerate(entries[word], 1):
                file.write(f"{word}{f'({number})' if number > 1 else ''} {sounds}\n")


def write_language_model(path, log10s):
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"\\data\\\nngram 1={len(log10s)}\n\n\\1-grams:\n")
        for word in sorted(log10s):
            file.write(f"{log10s[word]:.4f} {word}\n")
        file.write("\n\\end\\\n")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    packaged, folder = sys.argv[1:]
    probabilities = read_unigrams(os.path.join(packaged, "en-us.lm.bin"))
    spoken = read_dictionary(os.path.join(packaged, "cmudict-en-us.dict"))
    os.makedirs(folder, exist_ok=True)
    for file in ACOUSTIC_FILES:
        shutil.copyfile(os.path.join(packaged, "en-us", file), os.path.join(folder, file))
    edges = {"<s>": -99.0, "</s>": probabilities["</s>"]}
    log10s = {}
    for use, commonest in COMMONEST.items():
        words = choose_words(probabilities, spoken, commonest)
        write_dictionary(os.path.join(folder, use + ".dict"), {word: spoken[word] for word in words} | NAMES)
        log10s[use] = {word: probabilities[word] for word in words} | edges
    write_language_model(os.path.join(folder, "wake.lm"), log10s["wake"] | {name: WAKE_LOG10 for name in NAMES})
    write_language_model(os.path.join(folder, "named.lm"), log10s["look"] | {name: LOOK_LOG10 for name in NAMES})
    write_language_model(os.path.join(folder, "nameless.lm"), log10s["look"])


main()
