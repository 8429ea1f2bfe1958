/// <reference path="@TYPES@" />
// @ts-check

/*
 * User-interface script: runs while a dialog edits an instance whose root names this file as its
 * "scriptFile".
 *
 * Read and write the instance by relative URL; the dialog saves it. What const, let and class
 * declare stays invisible to the host: declare these functions with "function".
 *
 * Try it: configscript run PROJECT INSTANCE onOpen
 */

/**
 * The dialog has opened: show what follows from the values.
 *
 * @type {OnOpen}
 */
function onOpen(api) {
  // const power = api.getProperty("motor/ratedPower", "value");
  // api.setProperty("motor/inputPower", "value", power / 0.9);
}

/**
 * The user changed the node url, for example "motor/ratedPower"; for the root, url is undefined.
 * The list of errors is empty again: report about this node only.
 *
 * @type {OnValueChange}
 */
function onValueChange(api, url) {
  // if (url === "motor/ratedPower" && !(api.getProperty(url, "value") > 0)) {
  //   api.setError(url, "error.notPositive");
  // }
}

/**
 * The user wants to save: check everything. false keeps the dialog open.
 *
 * @type {OnOk}
 */
function onOk(api) {
  return true;
}
