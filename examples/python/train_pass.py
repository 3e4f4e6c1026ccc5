"""The wheels of a train that passed a measuring post, worst flange first.

usage: train_pass.py FOLDER    recordings with their settings.ini, as "kvmeasure simulate pass" writes them
"""

import sys
import tempfile

import kvmath

with tempfile.TemporaryDirectory() as work:
    train = kvmath.wheel_pass(sys.argv[1], work=work)

wheels = []
for number, wheelset in enumerate(train.wheelsets, 1):
    distance = wheelset["backToBack"]
    print(f"wheelset {number}: back to back {distance:.1f} mm" if distance else f"wheelset {number}: {wheelset['notes']}")
    for side in ("left", "right"):
        wheel = wheelset[side]
        if wheel["thicknessFromBack"] is None:
            print(f"  {side}: {'; '.join(wheel['notes'])}")
        else:
            wheels.append((wheel["thicknessFromBack"], number, side, wheel["flangeHeight"]))

for thickness, number, side, height in sorted(wheels):
    print(f"wheelset {number} {side}: flange {thickness:.2f} mm thick, {height:.2f} mm high")
for note in train.notes:
    print(note)
