"""guide-names.py DOCUMENT GUIDE: prints which names only the document or only the guide has."""
import json
import re
import sys


def keys(value):
    if isinstance(value, dict):
        return set(value).union(*map(keys, value.values()))
    return set().union(*map(keys, value)) if isinstance(value, list) else set()


with open(sys.argv[1]) as file:
    found = keys(json.load(file))
with open(sys.argv[2]) as file:
    text = re.search(r"With `--json`.*(?=With `--search`)", file.read(), re.S)[0]
rows = re.findall(r"^\| (`.*?) \|", text, re.M)
listed = {name for row in rows for name in re.findall(r"`(\w+)`", row)}
print("not in the guide:", sorted(found - set(re.findall(r"`(\w+)`", text))))
print("only in the guide:", sorted(listed - found))
