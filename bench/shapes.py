"""The rows that the benchmarks move: made-up ones, the same for the same shape and number."""

import datetime
import random

TOWNS = ["Torvik", "Åsgård", "Lund", "Nordhavn", "Vågen", "Bergby", "Sandvika", "Øyer"]
THINGS = ["bolt", "hinge", "lamp", "rope", "valve", "pump", "anchor", "sail", "mast", "cleat"]


def number_columns(rng):
    day = datetime.datetime(2015, 1, 1) + datetime.timedelta(seconds=rng.randrange(300_000_000))
    return (f"{rng.randrange(1, 200_000)},{rng.randrange(-5, 500)},"
            f"{rng.randrange(10_000_000) / 100:.2f},{rng.random():.6f},{day:%Y-%m-%d},{day}")


def text_columns(rng):
    code = f"{rng.choice('ABCDEF')}{rng.randrange(10_000):04}"
    name = f'"{rng.choice(THINGS)}, {rng.choice(THINGS)} ""{rng.choice(TOWNS)}"""'
    note = "" if rng.random() < 0.3 else f"{rng.choice(THINGS)} for {rng.choice(TOWNS)}"
    return f"{code},{name},{note}"


def short_text(rng):
    return f"{rng.choice(THINGS)} {rng.choice(TOWNS)} {rng.randrange(1000)}"


def long_text(rng):
    return '"' + ", ".join(short_text(rng) for _ in range(90)) + '"'


def joined(make, count):
    return lambda rng: ",".join(make(rng) for _ in range(count))


def whole(rng):
    return str(rng.randrange(10 ** rng.randrange(1, 10)))


def part(rng):
    return f"{rng.randrange(10 ** 9) / 1000:.3f}"


# Of each shape: the columns behind the row's number as they are declared, and what makes their values, in two halves.
SALE = ["customer INTEGER", "quantity INTEGER", "amount DECIMAL(12,2)", "rate DOUBLE PRECISION", "sold_on DATE",
        "changed_at {moment}", "code VARCHAR(8)", "name VARCHAR(60)", "note VARCHAR(60)"]
SHAPES = {
    "sale": (SALE, number_columns, text_columns),
    "narrow": (["n INTEGER", "t VARCHAR(60)"], whole, short_text),
    "wide": ([f"n{i} INTEGER" for i in range(100)] + [f"t{i} VARCHAR(60)" for i in range(99)],
             joined(whole, 100), joined(short_text, 99)),
    "long": (["a VARCHAR(8000)", "b VARCHAR(8000)"], long_text, long_text),
    "texts": ([f"t{i} VARCHAR(60)" for i in range(10)], joined(short_text, 5), joined(short_text, 5)),
    "numbers": ([f"n{i} INTEGER" for i in range(5)] + [f"d{i} DOUBLE PRECISION" for i in range(5)],
                joined(whole, 5), joined(part, 5)),
}


def table(shape, moment="DATETIME"):
    """The columns of a shape's table, as CREATE TABLE has them."""
    return "(" + ", ".join(["id INTEGER", *SHAPES[shape][0]]).format(moment=moment) + ")"


def lines(shape, count):
    """The header and the rows of a text file, in pieces."""
    columns, first, second = SHAPES[shape]
    yield ",".join(["id", *(column.split()[0] for column in columns)]) + "\n"
    # Two pools whose lengths have no common factor, so that pairs come again late.
    rng = random.Random(20)
    firsts = [first(rng) for _ in range(10_007 if shape == "sale" else 1_009)]
    seconds = [second(rng) for _ in range(9_973 if shape == "sale" else 997)]
    for start in range(0, count, 10_000):
        yield "".join(f"{row + 1},{firsts[row % len(firsts)]},{seconds[row % len(seconds)]}\n"
                      for row in range(start, min(start + 10_000, count)))
