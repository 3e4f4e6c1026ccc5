"""A groove along a scan: taught on one profile, measured on every profile.

usage: groove_in_a_scan.py SCAN [PICTURE]
"""

import math
import sys

import kvmath

scan = kvmath.read_scan(sys.argv[1])
profiles = kvmath.profiles_of(scan)
print(f"{scan.form}: {len(scan)} points, {len(profiles)} profiles")

# The groove runs along the scan in the middle of it. Its land and its floor are segments of a section there.
places = [profile.z for profile in profiles]
section = scan.section(at_scan=(places[0] + places[-1]) / 2)
found = kvmath.segments(section)
for number, (length, angle) in enumerate(zip(found.lengths, found.angles)):
    print(f"segment {number}: {length:.2f} mm, {angle:.1f} deg")

plan = kvmath.teach(section, lines={"land": 0, "floor": 1}, length_share=0.4, name="groove",
                    measure="depth = shift land.end floor.start -90 : +- 0.1; tilt = angle land floor : +- 2")
results = plan.measure_all(profiles)

depths = [result["depth"] for result in results if result["depth"].valid]
mean = sum(depth.value for depth in depths) / len(depths)
scatter = math.sqrt(sum((depth.value - mean) ** 2 for depth in depths) / (len(depths) - 1))
print(f"depth {mean:.3f} mm in {len(depths)} of {len(results)} profiles, scatter {scatter:.3f} mm, "
      f"stated u {depths[0].u:.3f} mm")
for result in results:
    if not result.good:
        print(f"z {result.z:.1f} mm: {result.verdict} {result.reason}")
        break
if len(sys.argv) > 2:
    with open(sys.argv[2], "wb") as file:
        file.write(plan.measure(section).picture(sys.argv[2].rsplit(".", 1)[-1]))
