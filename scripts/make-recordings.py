#!/usr/bin/env python3
"""make-recordings.py FOLDER
Writes seven recordings for velu --wavtest: the name and a question in one breath, the name alone, the name as the sixth
word, a follow-up without the name, words that sound like the name, talk without it, and three minutes of noise. flite
speaks the sentences. The tone at the end of some recordings tells the tests' stand-in for speech recognition which text
to return."""
import array
import math
import os
import random
import subprocess
import sys
import tempfile
import wave

RATE = 16000

# File name, text, and the frequency in hertz of the tone after it, if any.
SPOKEN = [
    ("one-breath", "velu, what time is it", 400),
    ("name-alone", "velu", 1000),
    ("name-sixth", "could you please tell me, velu, what the time is", 2500),
    ("follow-up", "in half an hour", 4000),
    ("near-sounds", "the value of the valley is below what we knew. a fellow in yellow said hello to a bell.", None),
    ("talk", "yesterday we went to the market and bought some apples. then it began to rain, so we took the bus home.",
     None),
]


def speak(words):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "speech.wav")
        subprocess.run(["flite", "-voice", "slt", "-t", words, "-o", path], check=True)
        with wave.open(path) as file:
            return array.array("h", file.readframes(file.getnframes()))


def tone(hertz, seconds=0.5, loudness=8000):
    return array.array("h", (round(loudness * math.sin(2 * math.pi * hertz * at / RATE))
                             for at in range(round(seconds * RATE))))


def noise(seconds, loudness=900):
    """Returns a rumble with hiss whose loudness rises and falls, like a busy street."""
    source = random.Random(1)
    low = 0.0
    samples = array.array("h")
    for at in range(seconds * RATE):
        low = 0.98 * low + 0.2 * source.gauss(0, 1)
        swell = 1 + 0.8 * math.sin(2 * math.pi * at / (7 * RATE))
        samples.append(max(-32768, min(32767, round(loudness * swell * (low + 0.3 * source.gauss(0, 1))))))
    return samples


def save(folder, name, samples):
    with wave.open(os.path.join(folder, name + ".wav"), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(samples.tobytes())


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    for name, words, hertz in SPOKEN:
        save(folder, name, speak(words) + (tone(hertz) if hertz else array.array("h")))
    save(folder, "noise", noise(180))


main()
