"""Registries that the keeper saved, and the changes from one to another."""

import hive

LINK = 6

USER = "HKEY_USERS\\S-1-5-21-0-0-0-1000"

CURRENT_SET, FIRST_SET = ("hkey_local_machine\\system\\" + name for name in ("currentcontrolset", "controlset001"))


def by_current_set(sections):
    """Where the current control set is a link, its keys under the name that captures have."""
    if any(path.startswith(CURRENT_SET + "\\") for path in sections):
        return sections
    names = {path: CURRENT_SET + path.removeprefix(FIRST_SET) for path in sections if path.startswith(FIRST_SET + "\\")}
    return {names.get(path, path): lines for path, lines in sections.items() if path != FIRST_SET}


class Registry:
    """Keys by their lower-cased paths. Values are parsed only when they are requested."""

    def __init__(self, folder):
        named = hive.sections(folder / "machine", "HKEY_LOCAL_MACHINE")
        named.update(hive.sections(folder / "users", "HKEY_USERS"))
        sections = {path.replace(USER, "HKEY_CURRENT_USER").lower(): lines for path, lines in named.items()}
        self.sections = by_current_set(sections)
        self.keys = {parent for path in self.sections for parent in hive.with_parents(path)}

    def lines(self, key):
        return self.sections.get(key, [])

    def values(self, key):
        """The type and data of a key's values by their lower-cased names, without the targets of links."""
        found = hive.values_in(self.lines(key)).items()
        return {name.lower(): value for name, value in found if value[0] != LINK}


def written(before, after):
    """The keys that were added or changed, with the values that are new or different."""
    result = {key: after.values(key) for key in after.keys - before.keys}
    for key in before.keys & after.keys:
        if before.lines(key) != after.lines(key):
            known = before.values(key)
            changed = {name: value for name, value in after.values(key).items() if known.get(name) != value}
            if changed:
                result[key] = changed
    return result


def removed(before, after):
    """The keys that were removed, with all their values, and those that lost values, with the lost ones."""
    result = {key: before.values(key) for key in before.keys - after.keys}
    for key in before.keys & after.keys:
        if before.lines(key) != after.lines(key):
            left = after.values(key)
            lost = {name: value for name, value in before.values(key).items() if name not in left}
            if lost:
                result[key] = lost
    return result


def same(before, after):
    return before.keys == after.keys and before.sections == after.sections
