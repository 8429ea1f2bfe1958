/**
 * User-interface script of the tanks: checks the geometry and the order of the switching levels.
 *
 * Writes  geometry/crossSection, by relative URL
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 */
function onOpen(api) {
  tankCalculate(api);
}

/**
 * @param {JavaScriptApi} api
 * @param {string} [url] the node that the user changed, none for the root
 */
function onValueChange(api, url) {
  if (!url) {
    return;
  }
  if (url.startsWith("levels/")) {
    tankCheckLevels(api);
  } else if (url === "geometry/diameter" || url === "geometry/height") {
    tankCheckLength(api, url);
    tankCalculate(api);
  }
}

/**
 * @param {JavaScriptApi} api
 * @returns {boolean} false keeps the dialog open
 */
function onOk(api) {
  return [
    tankCheckLength(api, "geometry/diameter"),
    tankCheckLength(api, "geometry/height"),
    tankCheckLevels(api)
  ].every((right) => right);
}

/** @param {JavaScriptApi} api */
function tankCheckLength(api, url) {
  const limits = api.getProperty(url, "limits");
  const value = api.getProperty(url, "value");
  if (typeof value !== "number") {
    api.setError(url, "error.notANumber");
  } else if (value < limits.min) {
    api.setError(url, "error.belowMinimum", limits.min);
  } else if (value > limits.max) {
    api.setError(url, "error.aboveMaximum", limits.max);
  } else {
    return true;
  }
  return false;
}

/** @param {JavaScriptApi} api */
function tankCheckLevels(api) {
  let right = true;
  let previous = 0;
  ["dry", "low", "high", "overflow"].forEach((name) => {
    const level = api.getProperty("levels/" + name, "value");
    if (!(level > previous && level <= 100)) {
      api.setError("levels/" + name, "error.levelOrder", level);
      right = false;
    }
    previous = level;
  });
  return right;
}

/** @param {JavaScriptApi} api */
function tankCalculate(api) {
  const diameter = api.getProperty("geometry/diameter", "value");
  const crossSection = Math.PI * diameter * diameter / 4;
  if (isFinite(crossSection)) {
    api.setProperty("geometry/crossSection", "value", Math.round(crossSection * 100) / 100);
  }
}
