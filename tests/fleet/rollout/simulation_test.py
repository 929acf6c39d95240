"""Runs roll-outs over simulated fleets with faults, kills, stops and resumes. usage: simulation_test.py COLLECTION SEEDS [CHASSIS]"""
import random
import sys
import time

from simulation import CASES, NEW, Simulation, Violation, World


def life_of_a_rollout(seed, count):
    """One roll-out with everything that can go wrong, resumed until it stands still. Returns the simulation."""
    chance = random.Random("life %d" % seed)
    case = CASES[seed % len(CASES)]
    world = World(seed, count, case, dead=chance.choice((0, 0.01, 0.1)), flaky=chance.choice((0, 0.0005, 0.005)),
                  liars=chance.choice((0, 0.001)))
    simulation = Simulation(world, share=chance.choice((0.02, 0.1, 1.0)), in_flight=chance.choice((1, 10, 50)))
    # Kills and stops early, where waves are small, and late.
    for unused in range(3):
        limit = chance.choice((30, 300, count * 3))
        simulation.run(kill_at=chance.randrange(1, limit), stop_at=chance.choice((None, chance.randrange(1, limit))))
    for unused in range(2):
        simulation.run()
    return simulation


def detects_broken_roll_outs(count):
    """The checks find what they look for: each defect, put in by hand, must end as a violation."""
    def ignores_stop(simulation):
        simulation.rollout.judge.stops = lambda failed, started: False

    def starts_too_many(simulation):
        simulation.rollout.in_flight, simulation.slots = 20, 20

    def believes_the_leader(simulation):
        simulation.rollout.verdict = lambda task, reader, reading: simulation.ledger.settle(
            "green", chassis=task.chassis) and None

    def updates_from_two(simulation):
        ended = simulation.world.write
        simulation.world.write = lambda server: (ended(server), ended(server))

    for defect in (ignores_stop, starts_too_many, believes_the_leader, updates_from_two):
        simulation = Simulation(World(1, count, "none", liars=0.0 if defect is starts_too_many else 0.2))
        defect(simulation)
        try:
            simulation.run(kill_at=count)
            simulation.run()
        except Violation:
            continue
        raise SystemExit("not found: %s" % defect.__name__)


def main():
    seeds, count = int(sys.argv[2]), int(sys.argv[3]) if len(sys.argv) > 3 else 10000
    begin, steps, green = time.time(), 0, 0
    detects_broken_roll_outs(400)
    for seed in range(seeds):
        try:
            simulation = life_of_a_rollout(seed, count)
        except Violation as violation:
            raise SystemExit("seed %d: %s" % (seed, violation))
        steps += simulation.steps
        green += sum(version == NEW for version in simulation.world.version.values())
    if not green or steps < seeds:
        raise SystemExit("the simulated roll-outs did nothing")
    print("%d seeds of %d chassis: %d steps, %d chassis updated, no violation, %.0f s"
          % (seeds, count, steps, green, time.time() - begin))


main()
