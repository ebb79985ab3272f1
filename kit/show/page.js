// The page around the cards and the tree.

const place = (id) => document.getElementById(id);
const model = new Model(JSON.parse(place("data").textContent));
const tree = new Tree(place("tree"), model, clearFilter);
const cards = new Cards(place("objects"), model, goToKey);

function goToKey(key, value = null) {
  tree.reveal(key, value);
}

function clearFilter() {
  clearTimeout(waiting);
  waiting = 0;
  place("words").value = "";
  model.onlyDifferences = false;
  place("only") && (place("only").checked = false);
  model.search("");
  renderFiltered();
}

function renderFiltered() {
  tree.limits.clear();
  cards.limits.clear();
  const isWhole = tree.unfoldWithin(ROWS_AT_FIRST);
  renderAll();
  if (!model.isFiltering) {
    say("");
  } else {
    say("Found " + counted(model.matches, "key") + " and " + counted(model.shownObjects.length, "object") + "." +
      (isWhole ? "" : " Keys further down are folded."));
  }
}

function renderAll() {
  cards.render();
  tree.render();
  place("nothing").hidden = model.shownChildren(null).length > 0;
  renderContents();
}

function say(text) {
  place("status").textContent = text;
}

// At the top

function renderTitle() {
  const names = model.isComparing ? [model.left, model.right] : [model.left];
  document.title = names.map((number) => plain(model.captures[number])).join(" and ");
  place("title").replaceChildren(...names.flatMap((number, index) => [index ? " and " : "", shown("span", "", model.captures[number])]));
}

function renderCounts() {
  const totals = model.totals;
  place("counts").textContent = counted(totals.keys, "key") + ", " + counted(totals.values, "value");
  if (model.isComparing) {
    const legend = place("legend");
    const chip = (side, text) => element("span", "chip " + side, text);
    const only = (number) => " only in " + plain(model.captures[number]);
    legend.replaceChildren(chip(LEFT, totals.left + only(model.left)), " ", chip(RIGHT, totals.right + only(model.right)), " ",
      chip(CHANGED, totals.changed + " changed"));
  }
  const columns = place("columns");
  columns.hidden = !model.isComparing;
  if (model.isComparing) {
    const heads = [model.left, model.right].map((number) => shown("span", "cell", model.captures[number]));
    columns.replaceChildren(element("span", "name", ""), ...heads);
  }
}

function choice(label, selected, action) {
  const select = element("select", "");
  model.captures.forEach((name, number) => select.append(new Option(plain(name), number, false, number === selected)));
  select.addEventListener("change", () => action(Number(select.value)));
  return element("label", "", label + " ", select);
}

function changeCaptures(left, right) {
  model.select(left, right);
  renderTitle();
  renderCounts();
  renderFindings();
  renderFiltered();
}

function setUpComparison() {
  if (!model.isComparing) {
    return;
  }
  document.body.classList.add("comparing");
  const comparison = place("comparison");
  comparison.hidden = false;
  if (model.captures.length > 2) {
    comparison.append(choice("Capture", model.left, (number) => changeCaptures(number, model.right)),
      choice("compared with", model.right, (number) => changeCaptures(model.left, number)));
  }
  const legend = element("span", "legend"), only = element("input", "");
  legend.id = "legend";
  only.id = "only";
  only.type = "checkbox";
  only.addEventListener("change", () => {
    model.onlyDifferences = only.checked;
    model.filter();
    renderFiltered();
  });
  comparison.append(legend, element("label", "only", only, " Only differences"));
}

function renderContents() {
  const link = (id, text) => {
    const made = element("a", "", text);
    made.href = "#" + id;
    return made;
  };
  const headings = [...document.querySelectorAll("main section.objects > h2")];
  const sections = headings.map((heading) => link(heading.parentElement.id, heading.textContent));
  const findings = place("findings").hidden ? [] : [link("findings", place("findings-title").textContent)];
  place("contents").replaceChildren(...[...findings, ...sections, link("keys", "Keys")].flatMap((made) => [made, " "]));
}

const FINDINGS = 200;

function renderFindings(limit = FINDINGS) {
  const found = model.findings.filter((finding) => model.isOfShown(finding)), section = place("findings");
  section.hidden = found.length === 0;
  place("findings-title").replaceChildren("Findings ", element("span", "count", found.length.toLocaleString("en")));
  section.querySelector("ul").replaceChildren(...found.slice(0, limit).map(findingItem));
  section.querySelector(".more")?.remove();
  if (found.length > limit) {
    const text = "Show more: " + (found.length - limit).toLocaleString("en") + " are left";
    section.append(button("more", text, () => showMoreFindings(limit)));
  }
}

function showMoreFindings(limit) {
  renderFindings(limit + FINDINGS);
  const item = place("findings").querySelectorAll("li")[limit];
  item.tabIndex = -1;
  item.focus();
}

function findingItem(finding) {
  const item = element("li", "");
  if (finding.rule) {
    item.append(shown("span", "rule", finding.rule), " ");
  }
  item.append(shown("span", "sentence", finding.sentence));
  if (model.isComparing) {
    item.append(" ", shown("span", "of", model.captures[finding.capture]));
  }
  if (finding.key !== null) {
    const name = finding.value === null ? "" : ", " + (finding.value === "" ? "default value" : finding.value);
    const link = element("a", "path", shown("span", "", model.path(finding.key) + name));
    link.href = "#keys";
    link.addEventListener("click", (event) => {
      event.preventDefault();
      goToKey(finding.key, finding.value);
    });
    item.append(link);
  } else if (finding.path) {
    item.append(shown("span", "path", finding.path));
  }
  return item;
}

// Search

let waiting = 0;

// What is typed is searched after a pause, or at once where the result is needed.
function searchLater() {
  clearTimeout(waiting);
  waiting = setTimeout(searchNow, 120);
}

function searchNow() {
  if (waiting !== 0) {
    clearTimeout(waiting);
    waiting = 0;
    model.search(place("words").value);
    renderFiltered();
  }
}

place("words").addEventListener("input", searchLater);
place("words").addEventListener("keydown", (event) => {
  if (event.key === "ArrowDown") {
    event.preventDefault();
    searchNow();
    tree.focus(place("tree").firstElementChild);
  }
});
place("search").addEventListener("submit", (event) => {
  event.preventDefault();
  searchNow();
});
document.addEventListener("keydown", (event) => {
  if (event.key === "/" && event.target.tagName !== "INPUT" && !event.ctrlKey && !event.altKey && !event.metaKey) {
    event.preventDefault();
    place("words").focus();
    place("words").select();
  } else if (event.key === "Escape" && (model.words.length > 0 || waiting !== 0)) {
    clearFilter();
  }
});
place("unfold").addEventListener("click", () => {
  const isWhole = tree.unfoldWithin(MOST_ROWS);
  tree.render();
  say(isWhole ? "All keys are unfolded." : "There are too many keys to unfold all of them. Keys further down are folded.");
});
place("fold").addEventListener("click", () => {
  tree.foldAll();
  say("All keys are folded.");
});

setUpComparison();
renderTitle();
renderCounts();
renderFindings();
renderAll();
