/**
 * User-interface script of the sensors: checks the measuring range.
 *
 * Writes  measuring/span, by relative URL
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 */
function onOpen(api) {
  sensorCalculate(api);
}

/**
 * @param {JavaScriptApi} api
 * @param {string} [url] the node that the user changed, none for the root
 */
function onValueChange(api, url) {
  if (url === "measuring/range" && sensorCheckRange(api)) {
    sensorCalculate(api);
  }
}

/**
 * @param {JavaScriptApi} api
 * @returns {boolean} false keeps the dialog open
 */
function onOk(api) {
  return sensorCheckRange(api);
}

/** @param {JavaScriptApi} api */
function sensorCheckRange(api) {
  const range = api.getProperty("measuring/range", "range");
  if (!(range.min < range.max)) {
    api.setError("measuring/range", "error.emptyRange");
    return false;
  }
  return true;
}

/** @param {JavaScriptApi} api */
function sensorCalculate(api) {
  const range = api.getProperty("measuring/range", "range");
  api.setProperty("measuring/span", "value", Math.round((range.max - range.min) * 1000) / 1000);
}
