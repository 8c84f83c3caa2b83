"""The figures of a run."""

STATES = ["noticed", "timed out", "survived", "same code", "equivalent", "does not compile"]


def counts_as_place(state):
    """A mistake that does not compile is none, and one that changes nothing cannot be noticed."""
    return state in ("noticed", "timed out", "survived")


def share_noticed(results):
    counted = [result for result in results if counts_as_place(result["state"])]
    noticed = sum(result["state"] != "survived" for result in counted)
    return 100 * noticed / len(counted) if counted else 100.0


def print_report(results, seconds):
    print_table("folder", results, lambda result: result["file"].split("/")[0])
    print_table("mistake", results, lambda result: result["kind"])
    for state, heading in (("equivalent", "changes nothing, and why"), ("survived", "survived")):
        chosen = sorted((each for each in results if each["state"] == state),
                        key=lambda each: (each["file"], each["line"]))
        if chosen:
            print(f"\n{heading}:")
        for each in chosen:
            print(f"{each['file']}:{each['line']} {each['kind']}"
                  + (f" in {each['function']}" if each["function"] else ""))
            print(f"  - {each['before']}\n  + {each['after']}")
            if each["by"]:
                print(f"    {each['by']}")
    counted = [each for each in results if counts_as_place(each["state"])]
    share = share_noticed(results)
    print(f"\n{len(counted)} mistakes that change what the program does, "
          f"{sum(each['state'] != 'survived' for each in counted)} noticed: {share:.1f} %, {seconds:.0f} s")
    return share


def print_table(heading, results, group_of):
    print(f"\n{heading:14}" + "".join(f"{state:>18}" for state in STATES) + f"{'% noticed':>12}")
    groups = sorted({group_of(result) for result in results})
    for group in groups + ["all"]:
        chosen = [result for result in results if group in ("all", group_of(result))]
        numbers = [sum(result["state"] == state for result in chosen) for state in STATES]
        print(f"{group:14}" + "".join(f"{number:18}" for number in numbers) + f"{share_noticed(chosen):12.1f}")
