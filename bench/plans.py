"""How much to measure: everything, a quick look, or just enough to see that everything still runs."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Plan:
    """Sizes and numbers of rounds."""

    start_rounds: int
    inventories: tuple  # (devices, rounds) of the comparisons
    updates: tuple  # (MiB, rounds) of the comparisons
    updates_beside_writer: tuple  # (MiB, rounds)
    writer_mebibytes: int
    growth_rounds: int
    devices: tuple
    files: tuple
    payload_mebibytes: tuple
    elements: tuple  # of the documents that the readers read
    repetitions: int  # of each reader's benchmark
    reader_seconds: float  # the least time of one repetition


PLANS = {
    "full": Plan(start_rounds=41, inventories=((100, 41), (10_000, 11), (100_000, 5)),
                 updates=((16, 11), (256, 5), (1024, 3)), updates_beside_writer=((16, 5), (256, 3)), writer_mebibytes=2048,
                 growth_rounds=7, devices=(1_000, 10_000, 100_000),
                 files=(100, 1_000, 10_000), payload_mebibytes=(10.24, 102.4, 1024.0), elements=(100, 1_000, 10_000),
                 repetitions=9, reader_seconds=0.5),
    "quick": Plan(start_rounds=21, inventories=((100, 21), (10_000, 5)), updates=((16, 5), (256, 3)),
                  updates_beside_writer=((16, 3),), writer_mebibytes=512,
                  growth_rounds=3, devices=(1_000, 10_000), files=(100, 1_000), payload_mebibytes=(10.24, 102.4),
                  elements=(100, 1_000, 10_000), repetitions=5, reader_seconds=0.1),
    "tiny": Plan(start_rounds=1, inventories=((10, 1),), updates=((0.01, 1),),
                 updates_beside_writer=((0.01, 1),), writer_mebibytes=1, growth_rounds=1, devices=(1, 10),
                 files=(1, 10), payload_mebibytes=(0.01, 0.1), elements=(100,), repetitions=1, reader_seconds=0.01),
}
