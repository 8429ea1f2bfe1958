/**
 * User-interface script of the pumps: checks the fields and shows what follows from them at once.
 *
 * Writes  motor/inputPower and hydraulics/specificEnergy, by relative URL: the tree belongs to the
 *         dialog, which saves it when the user is done
 *
 * What holds for every user-interface script of this project:
 *  - Scripts of several dialogs may meet in one engine, so the helpers carry the kind's name.
 *  - Each call starts with an empty error list: onValueChange reports about the field that changed,
 *    onOk about all of them.
 *
 * @param {JavaScriptApi} api
 */
function onOpen(api) {
  pumpCalculate(api);
}

/**
 * @param {JavaScriptApi} api
 * @param {string} [url] the node that the user changed, for example motor/ratedPower; the root's
 *                       own URL is empty and is not passed
 */
function onValueChange(api, url) {
  if (pumpFields().includes(url)) {
    pumpCheckField(api, url);
  } else if (url === "limits/temperature") {
    pumpCheckTemperature(api);
  }
  pumpCalculate(api);
}

/**
 * @param {JavaScriptApi} api
 * @returns {boolean} false keeps the dialog open
 */
function onOk(api) {
  const wrongFields = pumpFields().filter((url) => !pumpCheckField(api, url));
  return pumpCheckTemperature(api) && wrongFields.length === 0;
}

function pumpFields() {
  return [
    "motor/ratedPower", "motor/ratedSpeed", "motor/ratedCurrent", "motor/efficiency",
    "hydraulics/ratedFlow", "hydraulics/ratedHead", "hydraulics/efficiency",
    "control/rampUp", "control/rampDown", "control/emergencyPriority", "communication/address"
  ];
}

/** @param {JavaScriptApi} api */
function pumpCheckField(api, url) {
  const value = api.getProperty(url, "value");
  const limits = api.getProperty(url, "limits");
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
function pumpCheckTemperature(api) {
  const thresholds = api.getProperty("limits/temperature", "thresholds");
  if (!(thresholds.warning < thresholds.alarm)) {
    api.setError("limits/temperature", "error.warningAboveAlarm", thresholds.warning);
    return false;
  }
  return true;
}

/** @param {JavaScriptApi} api */
function pumpCalculate(api) {
  const inputPower = api.getProperty("motor/ratedPower", "value")
    / (api.getProperty("motor/efficiency", "value") / 100);
  // Lifting 1 m3 of water by 1 m takes 9.81 kJ, which is 9.81 / 3600 kWh.
  const specificEnergy = api.getProperty("hydraulics/ratedHead", "value") * 9.81 / 3600
    / (api.getProperty("hydraulics/efficiency", "value") / 100)
    / (api.getProperty("motor/efficiency", "value") / 100);
  if (isFinite(inputPower)) {
    api.setProperty("motor/inputPower", "value", Math.round(inputPower * 100) / 100);
  }
  if (isFinite(specificEnergy)) {
    api.setProperty("hydraulics/specificEnergy", "value",
                    Math.round(specificEnergy * 1000) / 1000);
  }
}
