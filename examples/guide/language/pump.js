/// <reference path="../types/JavaScriptApi.d.ts" />
// @ts-check

const syntax = [
  "let a = 1; const b = 2;",
  "(a, b = 2) => a + b",
  "class A extends Object { get b() { return 1; } static c() {} }",
  "`${1 + 1} pumps`",
  "for (const a of [1, 2]) {}",
  "function* a() { yield 1; }",
  "const { a, b: [c] } = { a: 1, b: [2] };",
  "Math.max(...[1, 2])",
  "(...rest) => rest",
  "2 ** 10",
  "null ?? 1",
  "/(?<a>.)/u.exec('b').groups.a.length",
  "({ ...{ a: 1 } })",
  "const { a, ...rest } = { a: 1 };",
  "({}).a?.b",
  "async function a() { await 1; }",
  "try {} catch {}",
  "/(?<=a)b/.exec('ab').index",
  "1_000",
  "10n",
  "let a; a ??= 1;",
  "class A { #b = 1; }",
  "class A { b = 1; }"
];

const names = [
  "console", "JSON", "Math", "Date", "RegExp", "Map", "Set", "WeakMap", "Symbol", "Promise",
  "Proxy", "Reflect", "ArrayBuffer", "Array.prototype.includes", "Object.entries",
  "Object.values", "String.prototype.padStart", "Array.prototype.flat", "Object.fromEntries",
  "String.prototype.replaceAll", "Array.prototype.at", "Intl", "BigInt", "globalThis",
  "setTimeout", "setInterval", "require", "fetch", "XMLHttpRequest", "window"
];

/** @param {string} text */
function runs(text) {
  try {
    new Function(text)();
    return true;
  } catch (error) {
    return false;
  }
}

/** @type {OnOpen} */
function onOpen(api) {
  const exists = (name) => runs("if (" + name + " === undefined) { throw new Error(); }");
  console.log("runs:\n" + syntax.filter(runs).join("\n"));
  console.log("does not run:\n" + syntax.filter((text) => !runs(text)).join("\n"));
  console.log("exists: " + names.filter(exists).join(", "));
  console.log("does not exist: " + names.filter((name) => !exists(name)).join(", "));
}
