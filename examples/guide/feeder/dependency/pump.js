/// <reference path="../types/JavaScriptApi.d.ts" />
// @ts-check

/*
 * Dependency script of the pumps: what follows elsewhere from a pump's motor.
 *
 * Writes  the range of its power, by absolute URL
 */

/** @type {OnSave} */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const power = api.getProperty("motor/ratedPower", "value");
  api.setPropertyExtern(processUrl + "#power", "range", { min: 0, max: 1.2 * power });
}
