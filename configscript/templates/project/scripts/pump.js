/// <reference path="../types/JavaScriptApi.d.ts" />
// @ts-check

/*
 * User-interface script of the pumps: checks the rated power, and shows the current that follows.
 *
 * Writes  motor/ratedCurrent, by relative URL: the dialog saves the instance
 */

/** @type {OnOpen} */
function onOpen(api) {
  pumpCalculate(api);
}

/** @type {OnValueChange} */
function onValueChange(api, url) {
  if (url === "motor/ratedPower" && pumpCheck(api)) {
    pumpCalculate(api);
  }
}

/** @type {OnOk} */
function onOk(api) {
  return pumpCheck(api);
}

/** @param {JavaScriptApi} api */
function pumpCheck(api) {
  const power = api.getProperty("motor/ratedPower", "value");
  const limits = api.getProperty("motor/ratedPower", "limits");
  if (power >= limits.min && power <= limits.max) {
    return true;
  }
  api.setError("motor/ratedPower", "error.outOfLimits", limits.max);
  return false;
}

/** @param {JavaScriptApi} api */
function pumpCalculate(api) {
  // Three phases, 400 V, and a usual power factor times efficiency of 0.765.
  const power = api.getProperty("motor/ratedPower", "value");
  const current = power * 1000 / (Math.sqrt(3) * 400 * 0.765);
  api.setProperty("motor/ratedCurrent", "value", Math.round(current * 10) / 10);
}
