/// <reference path="../types/JavaScriptApi.d.ts" />
// @ts-check

/*
 * Dependency script of the pumps: what follows elsewhere from a pump's motor.
 *
 * Writes  the setting of its feeder, the range of its power, by absolute URL
 */

/** @type {OnSave} */
function onSave(api, url) {
  const objectUrl = url.slice(0, url.lastIndexOf("/") + 1);
  const processUrl = url.replace(/^config:/, "process:");
  const current = api.getProperty("motor/ratedCurrent", "value");
  const power = api.getProperty("motor/ratedPower", "value");

  api.setPropertyExtern(objectUrl + "feeder#protection", "value", current);
  api.setPropertyExtern(processUrl + "#power", "range", { min: 0, max: 1.2 * power });
}
