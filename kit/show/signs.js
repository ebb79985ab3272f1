"use strict";
// What a text of a capture looks like on the page: never markup, and without characters that can't be seen or that
// change the order of others. A blank can't be seen at the beginning and the end.

const SIGNS = /^ | $|[\u0000-\u001f\u007f-\u00a0\u00ad\u034f\u061c\u115f\u1160\u1680\u17b4\u17b5\u180b-\u180f\u2000-\u200f\u2028-\u202f\u205f-\u206f\u2800\u3000\u3164\ufe00-\ufe0f\ufeff\uffa0\ufff0-\uffff]|\ud82f[\udca0-\udca3]|\ud834[\udd73-\udd7a]|\udb40[\udc00-\udfff]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g;
const SIGN_NAMES = { 0: "NUL", 9: "TAB", 10: "LF", 13: "CR", 27: "ESC", 127: "DEL" };

function nameOfSign(sign) {
  const code = sign.codePointAt(0);
  return SIGN_NAMES[code] || "U+" + code.toString(16).toUpperCase().padStart(4, "0");
}

// For places without elements: labels and the title.
function plain(text) {
  return text.replace(SIGNS, (sign) => "\u27e8" + nameOfSign(sign) + "\u27e9");
}

function element(name, className, ...children) {
  const made = document.createElement(name);
  if (className) {
    made.className = className;
  }
  made.append(...children);
  return made;
}

function button(className, text, action) {
  const made = element("button", className, text);
  made.type = "button";
  made.addEventListener("click", action);
  return made;
}

// Fragments of the text: [text, whether it is one of the words].
function piecesByWords(text, words) {
  const lower = text.toLowerCase();
  if (words.length === 0 || lower.length !== text.length) {
    return [[text, false]];
  }
  const isFound = new Uint8Array(text.length);
  for (const word of words) {
    for (let at = lower.indexOf(word); at >= 0; at = lower.indexOf(word, at + word.length)) {
      isFound.fill(1, at, at + word.length);
    }
  }
  const pieces = [];
  for (let begin = 0, end = 0; begin < text.length; begin = end) {
    while (end < text.length && isFound[end] === isFound[begin]) {
      ++end;
    }
    pieces.push([text.slice(begin, end), isFound[begin] === 1]);
  }
  return pieces;
}

function appendSigns(parent, text) {
  let at = 0;
  for (const found of text.matchAll(SIGNS)) {
    parent.append(text.slice(at, found.index), element("span", "sign", nameOfSign(found[0])));
    at = found.index + found[0].length;
  }
  parent.append(text.slice(at));
}

// The text of a capture as an element of its own, with the words marked.
function shown(name, className, text, words = []) {
  const made = element(name, className + " captured");
  const marked = text.search(SIGNS) < 0 ? piecesByWords(text, words) : [[text, false]];
  for (const [piece, isFound] of marked) {
    appendSigns(isFound ? made.appendChild(element("mark", "")) : made, piece);
  }
  return made;
}

function counted(number, one, many) {
  return number.toLocaleString("en") + " " + (number === 1 ? one : many || one + "s");
}
