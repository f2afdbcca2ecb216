"""A LumBasic price rule over a partitioned data set with Dask.

Runs with no arguments: starts a local cluster of two worker processes, generates
the order lines in partitions on the workers, ships the compiled rule to every
worker once and runs each partition through lumbasic.batch there. With
--check LUMBASIC it also writes the same records to a CSV file, runs
`LUMBASIC batch` over it and compares the two results record for record.

    python3 examples/dask/price_rule.py [--records N] [--partitions P] [--check build/cli/lumbasic]

On a real cluster, give the scheduler's address with --scheduler tcp://host:8786
(docs/scale.md).
"""
import argparse
import csv
import os
import random
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
RULE = os.path.join(HERE, "price_rule.lbd")
FIELDS = ["id%", "total", "label$"]

# The module from the build tree when it is not installed; the workers inherit the path.
BUILT = os.path.join(HERE, "..", "..", "build", "python")
if os.path.isdir(BUILT):
    os.environ["PYTHONPATH"] = os.path.abspath(BUILT) + os.pathsep + os.environ.get("PYTHONPATH", "")
    sys.path.insert(0, os.path.abspath(BUILT))

import dask.bag as db  # noqa: E402
from distributed import Client, LocalCluster, futures_of, wait  # noqa: E402

import lumbasic  # noqa: E402


def order_lines(partition, per_partition):
    """The records of one partition, the same wherever they are made."""
    rng = random.Random(partition)
    first = partition * per_partition
    return [{"id%": first + i, "price": round(rng.uniform(1, 200), 2), "qty%": rng.randint(1, 30)}
            for i in range(per_partition)]


def run_partition(records, image):
    """One partition through the rule on the worker; a failed record becomes its report."""
    results = lumbasic.batch(image, records, jobs=1, fields=FIELDS, name="price_rule.lbd")
    return [r.report if isinstance(r, lumbasic.Error) else r for r in results]


def command_line_results(lumbasic_cli, records):
    """The same records through `lumbasic batch`, read back typed by their names."""
    with tempfile.TemporaryDirectory() as scratch:
        data, out = os.path.join(scratch, "orders.csv"), os.path.join(scratch, "totals.csv")
        with open(data, "w", newline="") as f:
            writer = csv.DictWriter(f, fieldnames=["id%", "price", "qty%"])
            writer.writeheader()
            writer.writerows(records)
        start = time.perf_counter()
        subprocess.run([lumbasic_cli, "batch", "--jobs", "2", "--fields", ",".join(FIELDS), "--in", data,
                        "--out", out, RULE], check=True)
        took = time.perf_counter() - start
        with open(out, newline="") as f:
            rows = [{"id%": int(r["id%"]), "total": float(r["total"]), "label$": r["label$"]}
                    for r in csv.DictReader(f)]
    return rows, took


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--records", type=int, default=200_000)
    parser.add_argument("--partitions", type=int, default=8)
    parser.add_argument("--scheduler", help="address of a running scheduler; default: a local cluster")
    parser.add_argument("--check", metavar="LUMBASIC", help="compare with `LUMBASIC batch`")
    args = parser.parse_args()
    per_partition = args.records // args.partitions

    with open(RULE, encoding="utf-8") as f:
        image = lumbasic.compile(f.read(), name="price_rule.lbd")
    cluster = None if args.scheduler else LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                                       dashboard_address=None)
    with Client(args.scheduler or cluster) as client:
        # Once to every worker, not once a partition.
        shipped = client.scatter(image, broadcast=True)
        bag = db.from_sequence(range(args.partitions), npartitions=args.partitions)
        lines = bag.map_partitions(lambda parts: [r for p in parts for r in order_lines(p, per_partition)])
        lines = client.persist(lines)
        lines.count().compute()
        # The rule's own rate: the results stay on the workers, as a real job would
        # write them there; then they come to the client for the comparison.
        start = time.perf_counter()
        totals = client.persist(lines.map_partitions(run_partition, shipped))
        wait(futures_of(totals))
        took = time.perf_counter() - start
        results = totals.compute()
        took_gathered = time.perf_counter() - start
    if cluster is not None:
        cluster.close()

    failed = sum(isinstance(r, str) for r in results)
    print(f"dask: {len(results)} records, {failed} failed, {len(results) / took:,.0f} records/s on the workers, "
          f"{len(results) / took_gathered:,.0f} records/s with the results gathered")
    if not args.check:
        return 0
    records = [r for p in range(args.partitions) for r in order_lines(p, per_partition)]
    rows, cli_took = command_line_results(args.check, records)
    print(f"lumbasic batch --jobs 2: {len(rows)} records, {len(rows) / cli_took:,.0f} records/s (with start-up)")
    if rows != results:
        differ = next(i for i, (a, b) in enumerate(zip(rows, results)) if a != b) if len(rows) == len(results) else -1
        print(f"the results differ (first at record index {differ})", file=sys.stderr)
        return 1
    print(f"{len(rows)} records alike")
    return 0


if __name__ == "__main__":
    sys.exit(main())
