/// <reference path="../types/JavaScriptApi.d.ts" />
// @ts-check

/*
 * Dependency script of the feeder: the current of all pumps that it feeds.
 *
 * Reads   its own list of pumps, their rated currents
 * Writes  its own motor protection and title, by absolute URL
 */

/** @type {OnSave} */
function onSave(api, url) {
  const objectUrl = url.slice(0, url.lastIndexOf("/") + 1);
  let sum = 0;
  for (const pump of api.getProperty("supply", "pumps")) {
    sum += api.getPropertyExtern(objectUrl + pump + "#motor/ratedCurrent", "value");
  }
  sum = Math.round(sum * 10) / 10;
  if (sum > api.getProperty("protection", "limits").max) {
    api.setError("protection", "error.feederOverload", sum);
  }
  api.setPropertyExtern(url + "#protection", "value", sum);

  const title = {};
  const unit = api.getAllUnitTexts(api.getProperty("protection", "unit"));
  for (const language of Object.keys(unit)) {
    title[language] = sum + " " + unit[language];
  }
  api.setPropertyExtern(url, "title", title);
}
