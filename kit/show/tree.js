// The tree of keys. A value is an item below its key. The items are siblings with levels, since a file may nest keys
// deeper than a browser nests elements; only those of unfolded keys exist, and of a long list the beginning.

const CHUNK = 250, MOST_ROWS = 3000, ROWS_AT_FIRST = 400;
const LONGEST_LABEL = 400;

class Tree {
  constructor(root, model, clearFilter) {
    Object.assign(this, { root, model, clearFilter });
    this.typed = "";
    this.limits = new Map();
    this.unfolded = new Set();
    this.unfoldWithin(ROWS_AT_FIRST);
    root.addEventListener("click", (event) => this.clicked(event));
    root.addEventListener("keydown", (event) => this.pressed(event));
    root.addEventListener("focusin", (event) => this.current(event.target.closest("[role=treeitem]")));
  }

  // What a list of the tree contains: values, then keys, then a row for those that are left.
  itemsOf(key, level) {
    const values = key === null ? [] : this.model.shownValues(key).map((value) => ({ value }));
    const all = [...values, ...this.model.shownChildren(key).map((child) => ({ key: child }))];
    const limit = this.limits.get(key) || CHUNK;
    const items = all.slice(0, limit);
    if (all.length > limit) {
      items.push({ left: all.length - limit });
    }
    items.forEach((item, index) => Object.assign(item, { parent: key, level, index, size: all.length }));
    return items;
  }

  // The elements of items and of all unfolded keys below them.
  elementsOf(items) {
    const made = document.createDocumentFragment(), pending = items.slice().reverse();
    while (pending.length > 0) {
      const item = pending.pop();
      made.append(this.elementOf(item));
      if (this.unfolded.has(item.key)) {
        pending.push(...this.itemsOf(item.key, item.level + 1).reverse());
      }
    }
    return made;
  }

  render() {
    this.root.replaceChildren(this.elementsOf(this.itemsOf(null, 1)));
    this.current(this.root.firstElementChild);
  }

  // Unfolds keys from the top, as long as there aren't too many rows. Returns whether all are unfolded.
  unfoldWithin(most) {
    this.unfolded = new Set();
    const pending = this.model.shownChildren(null);
    let rows = pending.length;
    for (const key of pending) {
      const children = this.model.shownChildren(key);
      const count = Math.min(children.length + this.model.shownValues(key).length, CHUNK);
      if (rows + count > most) {
        return false;
      }
      rows += count;
      this.unfolded.add(key);
      children.forEach((child) => pending.push(child));
    }
    return true;
  }

  foldAll() {
    this.unfolded = new Set();
    this.render();
  }

  elementOf(item) {
    const made = element("div", "row");
    made.item = item;
    made.setAttribute("role", "treeitem");
    made.setAttribute("aria-level", item.level);
    made.setAttribute("aria-setsize", item.size);
    made.setAttribute("aria-posinset", item.index + 1);
    made.tabIndex = -1;
    made.style.setProperty("--level", Math.min(item.level, 24) - 1);
    if (item.left) {
      const text = "Show more: " + counted(item.left, "item is left", "items are left");
      made.classList.add("more");
      made.append(element("span", "name", text));
    } else if (item.value) {
      this.fillValue(made, item.value, item.parent);
    } else {
      this.fillKey(made, item.key);
    }
    return made;
  }

  fillKey(made, number) {
    const model = this.model, state = model.stateOfKey(number), remarks = [];
    made.classList.add("key", state);
    if (this.hasItems(number)) {
      made.setAttribute("aria-expanded", this.unfolded.has(number));
    }
    const name = element("span", "name", shown("span", "", model.keys[number].name, model.words));
    const object = model.objects[model.objectOfKey.get(number)];
    const objectName = object && model.keyOfObject(object) === number ? object.name : "";
    if (objectName) {
      name.append(shown("span", "note", objectName));
    }
    made.append(name);
    if (state === LEFT || state === RIGHT) {
      remarks.push(["only in " + plain(model.captures[state === LEFT ? model.left : model.right]), state]);
    }
    const states = [model.left, model.right].filter((of) => of !== null).map((of) => model.keys[number].states[of]);
    if (states.some((of) => of === DELETED || of === REPLACED)) {
      remarks.push([states.includes(DELETED) ? "deletes the key" : "deletes the key and makes it again", "warning"]);
    } else if (model.isBareOwn(number)) {
      made.classList.add("own");
      remarks.push(["made by the capture", ""]);
    } else if (model.isComparing && state === SAME && model.differences[number] > 0) {
      remarks.push([counted(model.differences[number], "difference"), CHANGED]);
    }
    remarks.forEach(([remark, kind]) => name.append(element("span", "tag " + kind, remark)));
    const found = this.appendFindings(made, model.findingsAt(number).filter((of) => of.value === null));
    this.label(made, [plain(model.keys[number].name), "key", plain(objectName), ...remarks.map(([remark]) => remark), ...found]);
  }

  fillValue(made, value, key) {
    const model = this.model, state = model.stateOfValue(value), [left, right] = model.dataOf(value);
    const name = value.name === "" ? "(default)" : value.name;
    made.classList.add("value", state);
    made.append(shown("span", value.name === "" ? "name default" : "name", name, model.words));
    const said = [plain(name)];
    if (!model.isComparing || state === SAME) {
      made.append(this.cell("both", left));
      said.push(this.spoken(left));
    } else {
      for (const [side, data, capture] of [[LEFT, left, model.left], [RIGHT, right, model.right]]) {
        made.append(this.cell(side, data, model.captures[capture]));
        said.push(plain(model.captures[capture]) + ": " + this.spoken(data));
      }
    }
    const fits = (finding) => finding.value !== null && finding.value.toLowerCase() === value.name.toLowerCase();
    said.push(...this.appendFindings(made, model.findingsAt(key).filter(fits)));
    this.label(made, said);
  }

  cell(side, number, capture) {
    const cell = element("span", "cell " + side);
    if (capture !== undefined) {
      cell.append(shown("span", "of", capture));
    }
    if (number === null) {
      cell.append(element("span", "absent", "\u2014 not there"));
      return cell;
    }
    const data = this.model.data[number];
    const content = element("span", "content");
    cell.append(element("span", "type", data.type), content);
    data.texts.forEach((text) => content.append(shown("span", text === "" ? "data empty" : "data", text, this.model.words)));
    const object = data.texts.length === 1 ? this.model.namesOfIds.get(data.texts[0].toLowerCase()) : undefined;
    if (object !== undefined) {
      content.firstElementChild.append(shown("span", "note", object));
    }
    if (data.left > 0) {
      content.append(element("span", "tag", counted(data.left, "more byte") + " not shown"));
    }
    if (data.remark !== "") {
      content.append(shown("span", "tag warning", data.remark));
    }
    return cell;
  }

  spoken(number) {
    if (number === null) {
      return "not there";
    }
    const data = this.model.data[number];
    const text = plain(data.texts.join("; ").slice(0, LONGEST_LABEL)) || "empty";
    return [data.type, text, plain(data.remark)].filter((part) => part).join(", ");
  }

  appendFindings(made, findings) {
    return findings.map((finding) => {
      const text = (finding.rule ? finding.rule + ": " : "") + finding.sentence;
      made.append(shown("span", "finding", text));
      return plain(text);
    });
  }

  label(made, parts) {
    made.setAttribute("aria-label", parts.filter((part) => part).join(", "));
  }

  hasItems(key) {
    return this.model.shownChildren(key).length + this.model.shownValues(key).length > 0;
  }

  // Folding

  isFoldable(made) {
    return made.hasAttribute("aria-expanded");
  }

  isUnfolded(made) {
    return made.getAttribute("aria-expanded") === "true";
  }

  toggle(made) {
    const { key, level } = made.item;
    if (!this.isFoldable(made)) {
      return;
    }
    if (this.isUnfolded(made)) {
      this.unfolded.delete(key);
      while (made.nextElementSibling && made.nextElementSibling.item.level > level) {
        made.nextElementSibling.remove();
      }
    } else {
      this.unfolded.add(key);
      made.after(this.elementsOf(this.itemsOf(key, level + 1)));
    }
    made.setAttribute("aria-expanded", this.unfolded.has(key));
  }

  showMore(made) {
    const { parent, level, index } = made.item;
    this.limits.set(parent, (this.limits.get(parent) || CHUNK) + CHUNK);
    const added = this.elementsOf(this.itemsOf(parent, level).slice(index));
    const first = added.firstElementChild;
    made.replaceWith(added);
    this.focus(first);
  }

  act(made) {
    if (made.item.left) {
      this.showMore(made);
    } else {
      this.toggle(made);
    }
  }

  // Goes to a key, wherever it is, or to a value of it. A key that no shown capture has is nowhere.
  reveal(key, valueName = null) {
    if (key === undefined || this.model.stateOfKey(key) === null) {
      return;
    }
    if (this.model.isShown[key] !== 1) {
      this.clearFilter();
    }
    for (let at = key; at !== null; at = this.model.keys[at].parent) {
      const parent = this.model.keys[at].parent;
      const place = this.itemPlace(parent, at);
      this.limits.set(parent, Math.max(this.limits.get(parent) || CHUNK, (Math.floor(place / CHUNK) + 1) * CHUNK));
      this.unfolded.add(at);
    }
    this.render();
    const rows = [...this.root.children];
    const isValue = ({ item }) => item.value && item.parent === key && item.value.name.toLowerCase() === valueName.toLowerCase();
    const found = (valueName !== null && rows.find(isValue)) || rows.find(({ item }) => item.key === key);
    this.focus(found);
    found.scrollIntoView({ block: "center" });
  }

  itemPlace(parent, key) {
    return (parent === null ? 0 : this.model.shownValues(parent).length) + this.model.shownChildren(parent).indexOf(key);
  }

  // Keyboard and mouse

  // The one item that the Tab key reaches.
  current(made) {
    const old = this.root.querySelector("[tabindex='0']");
    if (made && old !== made) {
      old && (old.tabIndex = -1);
      made.tabIndex = 0;
    }
  }

  focus(made) {
    if (made) {
      this.current(made);
      made.focus();
    }
  }

  clicked(event) {
    const made = event.target.closest("[role=treeitem]");
    const isSelecting = String(document.getSelection()) !== "";
    if (made && !isSelecting) {
      this.focus(made);
      this.act(made);
    }
  }

  parentOf(made) {
    let at = made.previousElementSibling;
    while (at && at.item.level >= made.item.level) {
      at = at.previousElementSibling;
    }
    return at;
  }

  pressed(event) {
    const made = event.target.closest("[role=treeitem]");
    if (!made || event.ctrlKey || event.altKey || event.metaKey) {
      return;
    }
    const actions = {
      ArrowDown: () => this.focus(made.nextElementSibling),
      ArrowUp: () => this.focus(made.previousElementSibling),
      ArrowRight: () => (this.isFoldable(made) && !this.isUnfolded(made) ? this.toggle(made) : this.focus(this.firstChildOf(made))),
      ArrowLeft: () => (this.isFoldable(made) && this.isUnfolded(made) ? this.toggle(made) : this.focus(this.parentOf(made))),
      Home: () => this.focus(this.root.firstElementChild),
      End: () => this.focus(this.root.lastElementChild),
      Enter: () => this.act(made),
      " ": () => this.act(made),
      "*": () => this.unfoldSiblings(made),
    };
    if (Object.hasOwn(actions, event.key)) {
      event.preventDefault();
      actions[event.key]();
    } else if (event.key.length === 1 && event.key !== "/") {
      event.preventDefault();
      this.type(made, event.key);
    }
  }

  firstChildOf(made) {
    const next = made.nextElementSibling;
    return next && next.item.level > made.item.level ? next : null;
  }

  unfoldSiblings(made) {
    const { parent, level } = made.item;
    const isFolded = (row) => row.item.parent === parent && row.item.level === level && this.isFoldable(row) && !this.isUnfolded(row);
    [...this.root.children].filter(isFolded).forEach((row) => this.toggle(row));
  }

  // Goes to the next item whose name begins with what was typed without a pause.
  type(made, letter) {
    clearTimeout(this.pause);
    this.pause = setTimeout(() => (this.typed = ""), 700);
    this.typed += letter.toLowerCase();
    const nameOf = (item) => (item.value ? item.value.name : item.left ? "" : this.model.keys[item.key].name);
    const begins = ({ item }) => nameOf(item).toLowerCase().startsWith(this.typed);
    const rows = [...this.root.children], at = rows.indexOf(made) + (this.typed.length === 1 ? 1 : 0);
    this.focus([...rows.slice(at), ...rows.slice(0, at)].find(begins));
  }
}
