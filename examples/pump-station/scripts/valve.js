/**
 * User-interface script of the valves: checks the actuator and shows how long a full way takes.
 *
 * Writes  actuator/travelTime, by relative URL
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 */
function onOpen(api) {
  valveCalculate(api);
}

/**
 * @param {JavaScriptApi} api
 * @param {string} [url] the node that the user changed, none for the root
 */
function onValueChange(api, url) {
  if (url === "actuator/stroke" || url === "actuator/speed") {
    valveCheckPositive(api, url);
    valveCalculate(api);
  }
}

/**
 * @param {JavaScriptApi} api
 * @returns {boolean} false keeps the dialog open
 */
function onOk(api) {
  const strokeIsRight = valveCheckPositive(api, "actuator/stroke");
  return valveCheckPositive(api, "actuator/speed") && strokeIsRight;
}

/** @param {JavaScriptApi} api */
function valveCheckPositive(api, url) {
  const value = api.getProperty(url, "value");
  if (!(value > 0)) {
    api.setError(url, "error.notPositive", value);
    return false;
  }
  return true;
}

/** @param {JavaScriptApi} api */
function valveCalculate(api) {
  const travelTime = api.getProperty("actuator/stroke", "value")
    / api.getProperty("actuator/speed", "value");
  if (isFinite(travelTime)) {
    api.setProperty("actuator/travelTime", "value", Math.round(travelTime * 10) / 10);
  }
}
