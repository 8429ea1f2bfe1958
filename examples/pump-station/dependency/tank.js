/**
 * Dependency script of the tanks: what follows from a tank's geometry.
 *
 * Reads   its own geometry and switching levels, its sensor's name, the short name of its line
 * Writes  its own volume, limits and title, the ranges of its process data, its sensor's limits
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 * @param {string} url this tank, for example config://pumps/station/line1/tank1
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const lineUrl = url.slice(0, url.lastIndexOf("/"));
  const sensorUrl = url + "/" + api.getProperty("measurement", "sensor");

  const diameter = api.getProperty("geometry/diameter", "value");
  const height = api.getProperty("geometry/height", "value");
  if (!(diameter > 0 && height > 0)) {
    throw new Error(url + "#geometry holds no diameter or no height");
  }
  const volume = Math.round(Math.PI * diameter * diameter / 4 * height * 10) / 10;

  // The switching levels are entered in percent of the height; devices need metres.
  const levels = {};
  let previous = 0;
  ["dry", "low", "high", "overflow"].forEach((name) => {
    const percent = api.getProperty("levels/" + name, "value");
    if (percent <= previous) {
      api.setError("levels/" + name, "error.levelOrder", percent);
    }
    previous = percent;
    levels[name] = Math.round(percent * height) / 100;
  });

  api.setPropertyExtern(url + "#geometry/volume", "value", volume);
  api.setPropertyExtern(url + "#limits/level", "thresholds", levels);
  api.setPropertyExtern(url + "#display", "title",
                        api.getProperty("identification/tag", "value") + " "
                          + api.getPropertyExtern(lineUrl + "#identification/shortName", "value"));

  api.setPropertyExtern(processUrl + "#measurements/level", "range", { min: 0, max: height });
  api.setPropertyExtern(processUrl + "#measurements/level", "thresholds", levels);
  api.setPropertyExtern(processUrl + "#measurements/volume", "range", { min: 0, max: volume });

  api.setPropertyExtern(sensorUrl + "#alarms/limits", "thresholds", levels);
}
