/**
 * Dependency script of the pumps: what follows from a pump's rated values.
 *
 * Reads   its own motor and tag, the short name of its line, the setting range of its feeder
 * Writes  its own limits and title, the ranges of its process data, its feeder's motor protection
 *
 * What holds for every dependency script of this project:
 *  - All scripts of a run share one engine. A global name of one script is visible in the next,
 *    and a script that serves five instances is evaluated five times, so the only global name is
 *    onSave, and helpers live inside it.
 *  - The scripts run in any order. They read only what a user enters, never what a script writes,
 *    and every calculated property has exactly one script that writes it.
 *  - Writes go to absolute URLs, those to the own instance too: a relative write is not saved.
 *  - A mistake in the data that the user should correct is reported with setError, and the rest
 *    is still calculated. Data that leaves nothing to calculate with ends in an Error.
 *
 * @param {JavaScriptApi} api
 * @param {string} url this pump, for example config://pumps/station/line1/pump1
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const lineUrl = url.slice(0, url.lastIndexOf("/"));
  // The switch cabinet is an object of its own; its files lie in this project.
  const feederUrl = "config://pumps/switchCabinet/" + api.getProperty("supply/feeder", "value");

  function number(path) {
    const value = api.getProperty(path, "value");
    if (typeof value !== "number") {
      throw new Error(url + "#" + path + " holds no number");
    }
    return value;
  }

  function round(value, decimals) {
    const factor = Math.pow(10, decimals);
    return Math.round(value * factor) / factor;
  }

  const power = number("motor/ratedPower");
  const speed = number("motor/ratedSpeed");
  const current = number("motor/ratedCurrent");
  const tag = api.getProperty("identification/tag", "value");

  const currentLimits = { warning: round(1.04 * current, 1), alarm: round(1.16 * current, 1) };
  const speedLimits = { min: Math.round(0.4 * speed), max: Math.round(1.04 * speed) };
  api.setPropertyExtern(url + "#limits/current", "thresholds", currentLimits);
  api.setPropertyExtern(url + "#limits/speed", "thresholds", speedLimits);
  api.setPropertyExtern(url + "#display", "title",
                        tag + " " + api.getPropertyExtern(lineUrl + "#identification/shortName",
                                                          "value"));

  const measurements = processUrl + "#measurements/";
  api.setPropertyExtern(measurements + "current", "range", { min: 0, max: round(2 * current, 1) });
  api.setPropertyExtern(measurements + "current", "thresholds", currentLimits);
  api.setPropertyExtern(measurements + "speed", "range", { min: 0, max: speedLimits.max });
  api.setPropertyExtern(measurements + "power", "range", { min: 0, max: round(1.2 * power, 1) });

  // The motor protection is set to the rated current as far as its dial goes.
  const dial = api.getPropertyExtern(feederUrl + "#protection/overload", "range");
  const setting = Math.max(dial.min, Math.min(dial.max, current));
  if (setting !== current) {
    api.setError("motor/ratedCurrent", "error.protectionRange", setting);
  }
  api.setPropertyExtern(feederUrl + "#protection/overload", "value", setting);
  api.setPropertyExtern(feederUrl + "#consumer", "tag", tag);
}
