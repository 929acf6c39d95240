"""Prints how many chassis a bad firmware damages before the roll-out stops. usage: damage.py COLLECTION SEEDS [CHASSIS]

Fails where the 95th percentile is above the goal.
"""
import sys

from simulation import Simulation, World

# Fault, what to call it, and the goal of the 95th percentile.
ROWS = (("scattered", "3 % of all, scattered", 30), ("part_of_revision", "30 % of one revision", 30),
        ("whole_revision", "one whole contiguous revision, 10 %", 20))


def damage(case, seed, count, witness="required"):
    world = World("%s %d" % (case, seed), count, case)
    Simulation(world, witness=witness).run()
    return len(world.damaged)


def main():
    seeds, count = int(sys.argv[2]), int(sys.argv[3]) if len(sys.argv) > 3 else 10000
    print("| Fault | Median | 95th percentile | Goal |\n|---|---|---|---|")
    missed = False
    for case, title, goal in ROWS:
        results = sorted(damage(case, seed, count) for seed in range(seeds))
        worst = results[(95 * seeds + 99) // 100 - 1]
        print("| %s | %d | %d | %d |" % (title, results[(seeds - 1) // 2], worst, goal), flush=True)
        missed = missed or worst > goal
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
