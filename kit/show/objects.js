// What the entries make up: a card for each object, by kind.

const KINDS = [
  ["class", "Classes"], ["interface", "Interfaces"], ["typeLib", "Type libraries"], ["progId", "ProgIDs"], ["appId", "AppIDs"],
  ["category", "Categories"], ["extension", "File types"], ["shellExtension", "Shell extensions"], ["service", "Services"],
];
const CARDS = 60, MOST_LINKS = 12;

class Cards {
  constructor(root, model, goToKey) {
    Object.assign(this, { root, model, goToKey });
    this.limits = new Map();
  }

  render() {
    this.root.replaceChildren();
    for (const [kind, title] of KINDS) {
      const objects = this.model.shownObjects.filter((object) => object.kind === kind);
      if (objects.length > 0) {
        this.root.append(this.section(kind, title, objects));
      }
    }
  }

  section(kind, title, objects) {
    const heading = element("h2", "", title + " ", element("span", "count", objects.length.toLocaleString("en")));
    heading.id = kind + "-title";
    const limit = this.limits.get(kind) || CARDS;
    const cards = element("div", "cards", ...objects.slice(0, limit).map((object) => this.card(object)));
    const section = element("section", "objects" + (objects.length > 1 ? " many" : ""), heading, cards);
    section.id = kind;
    section.tabIndex = -1;
    section.setAttribute("aria-labelledby", heading.id);
    if (objects.length > limit) {
      const text = "Show more: " + (objects.length - limit).toLocaleString("en") + " are left";
      section.append(button("more", text, () => this.showMore(kind, section)));
    }
    return section;
  }

  showMore(kind, section) {
    const limit = this.limits.get(kind) || CARDS;
    this.limits.set(kind, limit + CARDS);
    this.render();
    this.root.querySelectorAll("#" + section.id + " article")[limit].focus();
  }

  card(object) {
    const model = this.model, state = model.stateOfObject(object), words = model.words;
    const title = Model.titleOf(object);
    const name = element("h3", "", shown("span", "", title, words));
    if (state === LEFT || state === RIGHT) {
      name.append(element("span", "tag " + state, "only in " + plain(model.captures[state === LEFT ? model.left : model.right])));
    } else if (state === CHANGED) {
      name.append(element("span", "tag " + state, "differs"));
    }
    if (object.scope) {
      name.append(shown("span", "tag", object.scope));
    }
    const card = element("article", "card " + state, name);
    if (title !== object.id) {
      card.append(shown("p", "id", object.id, words));
    } else if (object.name && object.name !== title) {
      card.append(shown("p", "also", object.name, words));
    }
    card.append(this.facts(object, state));
    card.append(...this.findings(object));
    const keys = button("keys", "Show its keys", () => this.goToKey(this.model.keyOfObject(object)));
    keys.setAttribute("aria-label", "Show the keys of " + plain(title));
    card.append(keys);
    card.tabIndex = -1;
    card.id = "object-" + model.objects.indexOf(object);
    return card;
  }

  // Each text once; one that only one of the captures has, with the capture's name.
  facts(object, state) {
    const model = this.model, list = element("dl", "");
    const ofSides = [model.left, model.isComparing ? model.right : model.left].map((capture) => object.texts[capture] || []);
    const same = (left, right) => left[0] === right[0] && left[1] === right[1];
    const merged = ofSides[0].map((text) => [text, state !== CHANGED || ofSides[1].some((of) => same(of, text)) ? SAME : LEFT]);
    for (const text of ofSides[1].filter((of) => !ofSides[0].some((left) => same(left, of)))) {
      const place = merged.findLastIndex(([of]) => of[0] === text[0]);
      merged.splice(place < 0 ? merged.length : place + 1, 0, [text, state === CHANGED ? RIGHT : SAME]);
    }
    for (const [text, side] of merged) {
      this.appendFact(list, text, side);
    }
    this.appendReferrers(list, object);
    return list;
  }

  appendFact(list, [label, text, target], side) {
    const last = list.lastElementChild && list.lastElementChild.label === label ? null : shown("dt", "", label);
    const data = element("dd", side, this.link(text, target));
    data.label = label;
    if (side !== SAME) {
      data.append(shown("span", "of", this.model.captures[side === LEFT ? this.model.left : this.model.right]));
    }
    list.append(...[last, data].filter((one) => one));
  }

  link(text, target) {
    const words = this.model.words;
    if (target === null) {
      return shown("span", "", text, words);
    }
    const object = this.model.objects[target];
    const link = element("a", "", shown("span", "", Model.titleOf(object), words));
    link.href = "#object-" + target;
    link.addEventListener("click", (event) => this.follow(event, target));
    return link;
  }

  // The card may not exist yet.
  follow(event, target) {
    event.preventDefault();
    this.goTo(target);
  }

  goTo(target) {
    const object = this.model.objects[target];
    const place = this.model.shownObjects.filter((of) => of.kind === object.kind).indexOf(object);
    if (place < 0) {
      this.goToKey(this.model.keyOfObject(object));
      return;
    }
    this.limits.set(object.kind, Math.max(this.limits.get(object.kind) || CARDS, place + 1));
    this.render();
    document.getElementById("object-" + target).focus();
  }

  // The interfaces of a library, and those of a class: its library's.
  appendReferrers(list, object) {
    const model = this.model, number = model.objects.indexOf(object);
    const interfacesOf = (library) => [...model.referrers[library]].filter((of) => model.objects[of].kind === "interface");
    const libraries = object.kind === "typeLib" ? [number] : object.kind === "class" ? this.librariesOf(object) : [];
    const interfaces = [...new Set(libraries.flatMap(interfacesOf))];
    if (interfaces.length > 0) {
      const links = interfaces.slice(0, MOST_LINKS).flatMap((of, index) => [index > 0 ? ", " : "", this.link(model.objects[of].id, of)]);
      if (interfaces.length > MOST_LINKS) {
        links.push(" and " + (interfaces.length - MOST_LINKS).toLocaleString("en") + " more");
      }
      list.append(element("dt", "", "Interfaces"), element("dd", "links", ...links));
    }
  }

  librariesOf(object) {
    const texts = object.texts.flatMap((of) => of || []);
    return texts.map(([, , target]) => target).filter((target) => target !== null && this.model.objects[target].kind === "typeLib");
  }

  findings(object) {
    const found = object.keys.flatMap((key) => this.model.findingsAt(key));
    return found.map((finding) => shown("p", "finding", (finding.rule ? finding.rule + ": " : "") + finding.sentence));
  }
}
