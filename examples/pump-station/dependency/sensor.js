/**
 * Dependency script of the level and pressure sensors: how a raw signal becomes a value.
 *
 * Reads   its own range and signal, the height of the tank that it measures, if it measures one
 * Writes  its own scale and title, the description of its value and raw value
 *
 * The notes in pump.js hold here too.
 *
 * @param {JavaScriptApi} api
 * @param {string} url this sensor, for example config://pumps/station/line1/tank1/level
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");

  const range = api.getProperty("measuring/range", "range");
  const unit = api.getProperty("measuring/range", "unit");
  const signal = api.getProperty("signal/type", "range");
  if (!(range.max > range.min && signal.max > signal.min)) {
    throw new Error(url + " has an empty measuring range or signal");
  }
  const scale = (range.max - range.min) / (signal.max - signal.min);

  // Only level sensors belong to a tank; the pressure sensors have no such node.
  if (api.isUrlValid("assignment")) {
    const tankUrl = "config://pumps/station/" + api.getProperty("assignment", "tank");
    const height = api.getPropertyExtern(tankUrl + "#geometry/height", "value");
    if (range.max < height) {
      api.setError("measuring/range", "error.rangeTooSmall", height);
    }
  }

  api.setPropertyExtern(url + "#signal/scale", "value", Math.round(scale * 10000) / 10000);
  api.setPropertyExtern(url + "#display", "title",
                        api.getProperty("identification/tag", "value") + ", " + range.min + " to "
                          + range.max + " " + api.getAllUnitTexts(unit).en);

  api.setPropertyExtern(processUrl + "#measurements/value", "range", range);
  api.setPropertyExtern(processUrl + "#measurements/value", "unit", unit);
  api.setPropertyExtern(processUrl + "#measurements/value", "unitTexts",
                        api.getAllUnitTexts(unit));
  api.setPropertyExtern(processUrl + "#measurements/raw", "range", signal);
}
