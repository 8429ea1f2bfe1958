// What somebody would write for Node.js instead of "configscript resolve": node resolve.js PROJECT
//
// Scripts are compiled once for each file. As everywhere, any script may read and write any tree, so
// those that changed are saved at the end; each file is synced before it takes the old one's place,
// as QSaveFile does it.
"use strict";

const fs = require("fs");
const path = require("path");

const projectPath = process.argv[2];
const readJson = (filePath) => JSON.parse(fs.readFileSync(filePath, "utf8"));

function replaceFile(filePath, text) {
  const temporaryPath = filePath + "." + process.pid;
  const file = fs.openSync(temporaryPath, "wx", fs.statSync(filePath).mode);
  try {
    fs.writeFileSync(file, text);
    fs.fdatasyncSync(file);
  } finally {
    fs.closeSync(file);
  }
  fs.renameSync(temporaryPath, filePath);
}

const project = readJson(path.join(projectPath, "project.json"));
const urlPath = project.moduleName + "/" + project.objectName + "/";
const folders = new Map([
  ["config://" + urlPath, path.join(projectPath, "configuration")],
  ["process://" + urlPath, path.join(projectPath, "process")],
]);
const trees = new Map();

function getTree(instanceUrl) {
  let tree = trees.get(instanceUrl);
  if (!tree) {
    for (const [prefix, folder] of folders) {
      if (instanceUrl.startsWith(prefix)) {
        const filePath = path.join(folder, instanceUrl.slice(prefix.length) + ".json");
        tree = { filePath, root: readJson(filePath), isChanged: false };
      }
    }
    if (!tree) {
      throw new Error("no such tree: " + instanceUrl);
    }
    trees.set(instanceUrl, tree);
  }
  return tree;
}

function getNode(tree, relUrl) {
  let node = tree.root;
  if (relUrl) {
    for (const name of relUrl.split("/")) {
      node = node.children[name];
    }
  }
  return node;
}

class Api {
  setInstance(url) {
    this.tree = getTree(url);
  }

  getProperty(relUrl, key) {
    return getNode(this.tree, relUrl).properties[key];
  }

  getPropertyExtern(absUrl, key) {
    const [instanceUrl, relUrl] = absUrl.split("#");
    return getNode(getTree(instanceUrl), relUrl).properties[key];
  }

  setPropertyExtern(absUrl, key, value) {
    const [instanceUrl, relUrl] = absUrl.split("#");
    const tree = getTree(instanceUrl);
    const { properties } = getNode(tree, relUrl);
    if (JSON.stringify(properties[key]) !== JSON.stringify(value)) {
      properties[key] = value;
      tree.isChanged = true;
    }
  }
}

const scripts = new Map();
function getScript(fileName) {
  let onSave = scripts.get(fileName);
  if (!onSave) {
    const text = fs.readFileSync(path.join(projectPath, "dependency", fileName), "utf8");
    onSave = new Function(text + "\nreturn onSave;");
    scripts.set(fileName, onSave);
  }
  return onSave();
}

const api = new Api();
const manifest = readJson(path.join(projectPath, "configuration", "manifest.json"));
const entries = manifest[0].dependencyFileExtern;
for (const { instanceName } of entries) {
  const url = "config://" + urlPath + instanceName;
  api.setInstance(url);
  getScript(api.getProperty("", "dependencyFileExtern"))(api, url);
}

let saved = 0;
for (const tree of trees.values()) {
  if (tree.isChanged) {
    replaceFile(tree.filePath, JSON.stringify(tree.root, null, 4) + "\n");
    ++saved;
  }
}
console.log(entries.length + " scripts run, " + saved + " files changed");
