// The captures, which of them are shown, and what is found in them.

const ABSENT = 0, OWN = 2, DELETED = 3, REPLACED = 4;
const SAME = "same", LEFT = "left", RIGHT = "right", CHANGED = "changed";

class Model {
  constructor(data) {
    Object.assign(this, data);
    this.left = 0;
    this.right = this.captures.length > 1 ? 1 : null;
    this.children = this.keys.map(() => []);
    this.roots = [];
    this.keys.forEach((key, number) => (key.parent === null ? this.roots : this.children[key.parent]).push(number));
    this.linkObjects();
    this.linkFindings();
    this.words = [];
    this.onlyDifferences = false;
    this.compare();
  }

  // An object's own key is the first of its keys.
  linkObjects() {
    this.objectOfKey = new Map();
    this.namesOfIds = new Map();
    this.referrers = this.objects.map(() => new Set());
    this.objects.forEach((object, number) => {
      object.keys.forEach((key) => this.objectOfKey.has(key) || this.objectOfKey.set(key, number));
      if (object.name && object.id.startsWith("{")) {
        this.namesOfIds.set(object.id.toLowerCase(), object.name);
      }
      for (const [, , target] of object.texts.flat().filter((text) => text !== null)) {
        if (target !== null) {
          this.referrers[target].add(number);
        }
      }
    });
  }

  linkFindings() {
    this.findingsOfKey = new Map();
    for (const finding of this.findings.filter((of) => of.key !== null)) {
      this.findingsOfKey.has(finding.key) || this.findingsOfKey.set(finding.key, []);
      this.findingsOfKey.get(finding.key).push(finding);
    }
  }

  isOfShown(finding) {
    return finding.capture === this.left || finding.capture === this.right;
  }

  findingsAt(key) {
    return (this.findingsOfKey.get(key) || []).filter((finding) => this.isOfShown(finding));
  }

  // A GUID says less than a name.
  static titleOf(object) {
    return object.id.startsWith("{") && object.name ? object.name : object.id;
  }

  get isComparing() {
    return this.right !== null;
  }

  path(key) {
    const names = [];
    for (let at = key; at !== null; at = this.keys[at].parent) {
      names.push(this.keys[at].name);
    }
    return names.reverse().join("\\");
  }

  select(left, right) {
    this.left = left;
    this.right = right;
    this.compare();
  }

  // SAME, LEFT, RIGHT or CHANGED for two data; null if neither capture has any.
  static difference(left, right, isSame) {
    if (!left && !right) {
      return null;
    }
    return left && right ? (isSame ? SAME : CHANGED) : left ? LEFT : RIGHT;
  }

  stateOfKey(number) {
    const states = this.keys[number].states;
    const [left, right] = [states[this.left], this.isComparing ? states[this.right] : states[this.left]];
    const isDeleted = (state) => state === DELETED || state === REPLACED;
    return Model.difference(left !== ABSENT, right !== ABSENT, isDeleted(left) === isDeleted(right));
  }

  // The first key of an object that a shown capture has; undefined if none has any.
  keyOfObject(object) {
    return object.keys.find((key) => this.stateOfKey(key) !== null);
  }

  stateOfValue(value) {
    const [left, right] = this.dataOf(value);
    return Model.difference(left !== null, right !== null, left === right);
  }

  dataOf(value) {
    const left = value.data[this.left];
    return [left, this.isComparing ? value.data[this.right] : left];
  }

  // An object differs if any of its keys or values does. Shell extensions may share a key, as values of a list.
  stateOfObject(object) {
    const [left, right] = [object.texts[this.left], object.texts[this.isComparing ? this.right : this.left]];
    const isSame = () => JSON.stringify(left) === JSON.stringify(right) &&
      (object.kind === "shellExtension" || object.keys.every((key) => this.ownDifferences[key] === 0));
    return Model.difference(left !== null, right !== null, left !== null && right !== null && isSame());
  }

  // Differences of each key itself and of all below it, and the sums.
  compare() {
    this.totals = { keys: 0, values: 0, left: 0, right: 0, changed: 0 };
    this.ownDifferences = this.keys.map((key, number) => {
      const state = this.stateOfKey(number);
      const states = key.values.map((value) => this.stateOfValue(value)).filter((of) => of !== null);
      this.totals.keys += state === null || this.isBareOwn(number) ? 0 : 1;
      this.totals.values += states.length;
      const differing = [state, ...states].filter((of) => of !== null && of !== SAME);
      differing.forEach((of) => ++this.totals[of]);
      return differing.length;
    });
    this.differences = this.ownDifferences.slice();
    for (let number = this.keys.length - 1; number >= 0; --number) {
      const parent = this.keys[number].parent;
      if (parent !== null) {
        this.differences[parent] += this.differences[number];
      }
    }
    this.filter();
  }

  // A key that the capture itself made, and that has nothing in it.
  isBareOwn(number) {
    const states = this.keys[number].states;
    return this.children[number].length === 0 && [this.left, this.right].every((of) => of === null || states[of] === OWN);
  }

  search(text) {
    // A path is found by its names. There are fewer words than bits.
    this.words = [...new Set(text.toLowerCase().split(/[\s\\]+/).filter((word) => word))].slice(0, 30);
    this.filter();
  }

  get isFiltering() {
    return this.words.length > 0 || (this.onlyDifferences && this.isComparing);
  }

  wordsIn(text) {
    const lower = text.toLowerCase();
    return this.words.reduce((found, word, bit) => (lower.includes(word) ? found | (1 << bit) : found), 0);
  }

  wordsInValues(number) {
    let found = 0;
    for (const value of this.keys[number].values) {
      found |= this.wordsIn(value.name);
      for (const data of this.dataOf(value)) {
        if (data !== null) {
          found |= this.data[data].texts.reduce((of, text) => of | this.wordsIn(text), this.wordsIn(this.data[data].type));
        }
      }
    }
    return found;
  }

  // Decides which keys are shown: those that match, with their values, and those above them. A word may be found in any name of the path.
  filter() {
    const all = 2 ** this.words.length - 1;
    const inPath = new Int32Array(this.keys.length);
    this.isShown = new Uint8Array(this.keys.length);
    this.isMatch = new Uint8Array(this.keys.length);
    this.matches = 0;
    this.keys.forEach((key, number) => {
      inPath[number] = (key.parent === null ? 0 : inPath[key.parent]) | this.wordsIn(key.name);
      const isThere = this.stateOfKey(number) !== null && !(this.onlyDifferences && this.isComparing && this.ownDifferences[number] === 0);
      if (isThere && (inPath[number] === all || (inPath[number] | this.wordsInValues(number)) === all)) {
        ++this.matches;
        this.isMatch[number] = 1;
        for (let at = number; at !== null && !this.isShown[at]; at = this.keys[at].parent) {
          this.isShown[at] = 1;
        }
      }
    });
    this.shownObjects = this.objects.filter((object) => this.objectMatches(object, all));
  }

  objectMatches(object, all) {
    const state = this.stateOfObject(object);
    if (state === null || (this.onlyDifferences && this.isComparing && state === SAME)) {
      return false;
    }
    const texts = [object.texts[this.left], this.isComparing ? object.texts[this.right] : null].flatMap((of) => of || []);
    return texts.reduce((found, text) => found | this.wordsIn(text[1]), this.wordsIn(object.id) | this.wordsIn(object.name)) === all;
  }

  shownChildren(number) {
    return (number === null ? this.roots : this.children[number]).filter((child) => this.isShown[child] === 1);
  }

  shownValues(number) {
    if (this.isMatch[number] === 0) {
      return [];
    }
    const isWanted = (state) => state !== null && !(this.onlyDifferences && this.isComparing && state === SAME);
    return this.keys[number].values.filter((value) => isWanted(this.stateOfValue(value)));
  }
}
