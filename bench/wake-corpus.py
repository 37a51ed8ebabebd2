#!/usr/bin/env python3
"""wake-corpus.py FOLDER
Generates the speech for the wake word's benchmark with flite, and lists it in FOLDER/corpus.tsv. Each line describes a
recording: set, part, voice, size of the speaker (the benchmark plays the recording that much faster), file, and where
the name begins and ends in seconds (-1 and -1 without the name). The result is the same every time. An existing listing
that is newer than this script is kept.

There are two sets with different sentences, pitches, speeds and sizes: "tuning", on which the recogniser's numbers were
chosen, and "report", which wasn't used for that. Each recording of the part "name" has the name once. The other parts
lack it: "everyday" is random small talk, "near" is full of words that sound like the name, and "prose" is read from the
licence texts of the Debian system."""
import os
import random
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

VOICES = {"slt": 172, "awb": 128, "rms": 100, "kal16": 106}  # each with its usual pitch in Hz
SETS = {
    "tuning": {
        "seed": 4201,
        "takes": [(0.95, 1.0, 1.0), (1.1, 0.9, 1.04), (1.0, 1.12, 0.96)],  # stretch, pitch, size
        "minutes": {"everyday": 10, "near": 4, "prose": 8},
    },
    "report": {
        "seed": 977,
        "takes": [(1.0, 1.05, 0.98), (0.9, 0.93, 1.06), (1.15, 1.15, 0.95)],
        "minutes": {"everyday": 40, "near": 6, "prose": 20},
    },
}

NAME = {
    "tuning": [
        "velu", "hey velu", "velu, what time is it?", "velu, play some music", "hey velu, how are you today?",
        "okay velu, turn the lamp on", "okay velu", "velu, tell me a joke", "hey velu, what does the word anchor mean?",
        "I will be there in a minute. Velu, who painted this picture?",
        "That was a lovely dinner. Hey velu, remind me to wash the dishes.",
        "Let me ask. Velu, how far away is the moon?",
    ],
    "report": [
        "velu", "hey velu", "okay velu", "velu?", "velu, what day is it tomorrow?", "velu, stop",
        "velu, open the window for me", "velu, could you read that again?", "hey velu, what is the weather like?",
        "hey velu, how do I boil an egg?", "hey velu, look at this", "hey velu, are you still there?",
        "okay velu, good night", "okay velu, search for trains to the coast", "okay velu, what can you see?",
        "velu, I need some help with my homework", "velu, set the volume lower", "velu, who are you?",
        "We should leave before noon. Velu, when does the sun set?",
        "The kettle is on. Hey velu, how long does green tea need?",
        "No, I never said that. Okay velu, what did I say?", "Let us find out together. Velu, what is seven times nine?",
        "My sister called again. Velu, write that down, please.", "thank you, velu", "good morning, velu",
        "can you hear me, velu?",
    ],
}

NEAR = {
    "tuning": [
        "The value of the house fell below what we paid.", "There is a valley below the yellow hill.",
        "Hello, fellow, have you got a new view?", "I bought a new lamp and a blue pillow.",
        "He said he would fell you a tree.", "Well, you know the value of a good meal.",
        "They sell you the jello in a yellow bowl.", "She will bell you when the cello arrives.",
        "The loo is at the end of the hall, below the stairs.", "Believe me, the venue was full.",
        "A vellum cover lay on the villa's table.", "Our villain flew to Venice in a balloon.",
        "I very well knew that Bella blew it.", "Do you value loyalty, or do you follow the fellow?",
        "The velvet looked mellow in the afternoon.", "Eleven villagers came down the valley.",
        "It was all very cool, a real voodoo tune.", "Evaluate the value before you buy a Volvo.",
    ],
    "report": [
        "What is the value of a view like that?", "The fellow in the yellow coat said hello.",
        "Down in the valley below, the bells ring.", "They will sell you a new one for the same value.",
        "It felt very loose, so we threw it away.", "Tell Lou that the venue has moved.",
        "I'd value your view on the blue jello.", "Have you ever flown over the valley in a balloon?",
        "Well, Lou and Bill will follow below.", "The bellows blew air into the yellow flame.",
        "He fell, you know, and it hurt like hell too.", "A failure at this level does not help you.",
        "Our villa has a view of the valley and a cellar.", "Bellamy never loses his mellow mood.",
        "The violin and the cello were of equal value.", "I believe you, but the level is too low.",
        "Every evening the loo smells of lemon.", "Veal, eel, and a glass of fellow's ale, if you please.",
        "We developed a velocity gauge for the vehicle.", "The novel was available, the value clear.",
        "Do the vets tell you how well you do?", "She'll be loopy if the bell goes off.",
        "Vera and Lucy went below to view the loom.", "They have a low fellow in a lovely blue valley.",
        "Seven elevators, a levy, and eleven valets.",
    ],
}

WHO = ["my brother", "the neighbour", "our teacher", "a friend of mine", "grandmother", "the plumber", "her cousin",
       "the man next door", "everybody", "no one", "the new doctor", "their manager", "an old sailor", "the children",
       "Peter", "Susan", "Michael", "Olivia", "Evelyn", "Harold", "the baker's wife", "someone at work"]
DID = ["forgot", "bought", "painted", "borrowed", "broke", "repaired", "found", "lost", "sold", "wanted", "carried",
       "dropped", "photographed", "cleaned", "described", "ordered", "moved", "ignored", "collected", "wrapped"]
WHAT = ["the kitchen table", "a bag of apples", "two bicycles", "the green umbrella", "an enormous suitcase",
        "the television", "a box of matches", "those old records", "the garden fence", "a bottle of vinegar",
        "some envelopes", "the living room carpet", "a leather wallet", "the vegetable soup", "every single photograph",
        "a wooden ladder", "the evening paper", "three loaves of bread", "the coffee machine", "a pair of gloves"]
WHEN = ["yesterday", "on Monday morning", "before breakfast", "a few weeks ago", "late in the evening", "last winter",
        "during the holidays", "just now", "around seven o'clock", "after the meeting", "in November", "all afternoon",
        "once again", "the other day", "while it was raining", "for the very first time"]
WHERE = ["at the station", "behind the library", "in the village", "near the river", "on the balcony", "at the office",
         "under the bridge", "in the basement", "by the swimming pool", "across the street", "in a small hotel",
         "on the way home", "at the supermarket", "beside the church", "in the back of the car", "over there"]
LIKE = ["quite expensive", "rather funny", "not very useful", "absolutely delicious", "a little too loud", "wonderful",
        "completely useless", "much better than before", "far too heavy", "surprisingly cheap", "a bit strange",
        "really beautiful", "hard to believe", "as cold as ice", "good enough for me", "out of the question"]
DOING = ["cooking dinner", "walking the dog", "watching the game", "learning to drive", "playing the piano",
         "looking for a job", "reading a novel", "feeding the cat", "waiting for the bus", "writing letters",
         "travelling by train", "moving the furniture", "fixing the roof", "growing tomatoes", "baking a cake"]
TALK = {
    "tuning": [
        "{who} {did} {what} {when}.", "Did you know that {who} {did} {what} {where}?",
        "I was {doing} {when}, and it was {like}.", "They say that {what} is {like}.",
        "We spent an hour {doing} {where}.", "Could you put {what} {where}, please?",
        "Why has {who} never {did} {what}?", "{who} thinks that {doing} is {like}.",
    ],
    "report": [
        "{when}, {who} {did} {what} {where}.", "Nobody told me that {who} {did} {what}.",
        "Have you seen {what}? I left it {where}.", "If you ask me, {doing} is {like}.",
        "I would love to go {doing} {where}, even if it is {like}.", "{who} and {otherWho} were {doing} {when}.",
        "What about {what}? It looks {like} to me.", "You should have told {who} about {what} {when}.",
        "Sometimes {who} talks about {doing} for hours, which is {like}.", "Is {what} still {where}, or has {who} {did} it?",
        "Let us stop {doing}. I have {did} {what} {when}.", "The weather {when} was {like}, so we stayed {where}.",
    ],
}


def everyday(name, dice):
    while True:
        yield dice.choice(TALK[name]).format(
            who=dice.choice(WHO), otherWho=dice.choice(WHO), did=dice.choice(DID), what=dice.choice(WHAT),
            when=dice.choice(WHEN), where=dice.choice(WHERE), like=dice.choice(LIKE), doing=dice.choice(DOING))


def near(name, dice):
    while True:
        sentences = list(NEAR[name])
        dice.shuffle(sentences)
        yield from sentences


def prose(name, _):
    texts = {"tuning": ["Apache-2.0", "GPL-2"], "report": ["GPL-3", "GFDL-1.3", "MPL-2.0", "Artistic", "LGPL-2.1"]}[name]
    while True:
        for text in texts:
            with open("/usr/share/common-licenses/" + text, encoding="utf-8") as file:
                for paragraph in re.split(r"\n\s*\n", file.read()):
                    line = re.sub(r"[^A-Za-z0-9',.;:?!-]+", " ", paragraph).strip()
                    if len(line) > 60:
                        yield from re.findall(r"[^.;:]+[.;:]?", line)


def speak(text, voice, stretch, pitch, path):
    """Speaks the text into the file. Returns the sounds with their ends in seconds."""
    temporary = path + ".part"
    told = subprocess.run(
        ["flite", "-voice", voice, "--setf", f"duration_stretch={stretch}",
         "--setf", f"int_f0_target_mean={VOICES[voice] * pitch:.1f}", "-psdur", "-t", text, "-o", temporary],
        check=True, capture_output=True, text=True).stdout
    os.replace(temporary, path)
    return [(sound, float(end)) for sound, end in re.findall(r"(\w+):([0-9.]+)", told)]


def seconds(sounds):
    return sounds[-1][1]


def find_name(sounds):
    """Returns the beginning and the end of the name, which must occur once."""
    found = [index for index in range(1, len(sounds) - 3)
             if [sound for sound, _ in sounds[index:index + 4]] == ["v", "eh", "l", "uw"]]
    if len(found) != 1:
        raise ValueError("the name is not said once: " + " ".join(sound for sound, _ in sounds))
    return sounds[found[0] - 1][1], sounds[found[0] + 3][1]


def make_positives(folder, name, lines, pool):
    def make(job):
        number, sentence, voice, take = job
        stretch, pitch, size = take
        file = f"{name}-name-{number:04}.wav"
        begin, end = find_name(speak(sentence, voice, stretch, pitch, os.path.join(folder, file)))
        return f"{name}\tname\t{voice}\t{size}\t{file}\t{begin:.3f}\t{end:.3f}"
    jobs = [(sentence, voice, take) for sentence in NAME[name] for voice in VOICES for take in SETS[name]["takes"]]
    lines.extend(pool.map(make, [(number, *job) for number, job in enumerate(jobs)]))


def make_negatives(folder, name, part, lines):
    dice = random.Random(f"{SETS[name]['seed']} {part}")
    sentences = {"everyday": everyday, "near": near, "prose": prose}[part](name, dice)
    turns = [(voice, take) for voice in VOICES for take in SETS[name]["takes"]]
    total = 0.0
    number = 0
    while total < SETS[name]["minutes"][part] * 60:
        text = ""
        while len(text) < 260:
            text += next(sentences).strip() + " "
        voice, (stretch, pitch, size) = turns[number % len(turns)]
        file = f"{name}-{part}-{number:04}.wav"
        total += seconds(speak(text, voice, stretch, pitch, os.path.join(folder, file))) / size
        lines.append(f"{name}\t{part}\t{voice}\t{size}\t{file}\t-1\t-1")
        number += 1


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = sys.argv[1]
    listing = os.path.join(folder, "corpus.tsv")
    if os.path.exists(listing) and os.path.getmtime(listing) > os.path.getmtime(__file__):
        return
    os.makedirs(folder, exist_ok=True)
    lines = []
    with ThreadPoolExecutor(2) as pool:
        for name in SETS:
            make_positives(folder, name, lines, pool)
            for part in SETS[name]["minutes"]:
                make_negatives(folder, name, part, lines)
    with open(listing + ".part", "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")
    os.replace(listing + ".part", listing)


main()
