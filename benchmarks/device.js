/*
 * Dependency script of the devices of type NUMBER.
 *
 * Reads   its own motor, medium and maintenance, the short name and the voltage of its line
 * Writes  its own limits, title and remaining hours, its process data, its load in the line
 */
function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const lineUrl = url.slice(0, url.lastIndexOf("/"));
  const name = url.slice(url.lastIndexOf("/") + 1);
  const reserve = RESERVE;

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

  const power = number("motor/power");
  const voltage = api.getPropertyExtern(lineUrl + "#supply/voltage", "value");
  const load = power / (number("motor/efficiency") / 100);
  const nominal = {
    power: load,
    current: load * 1000 / (voltage * Math.sqrt(3) * number("motor/powerFactor") / 100),
    speed: number("motor/speed"),
    flow: number("medium/flow"),
    pressure: number("medium/pressure"),
    temperature: number("medium/temperature"),
  };

  // Warnings come at the nominal value with its reserve, alarms a tenth later.
  Object.keys(nominal).forEach((quantity) => {
    const warning = round(nominal[quantity] * reserve, 2);
    const thresholds = { warning, alarm: round(warning * 1.1, 2) };
    const measurement = processUrl + "#measurements/" + quantity;
    api.setPropertyExtern(url + "#limits/" + quantity, "thresholds", thresholds);
    api.setPropertyExtern(measurement, "thresholds", thresholds);
    api.setPropertyExtern(measurement, "range", { min: 0, max: round(warning * 1.25, 1) });
  });

  const hours = number("maintenance/operatingHours");
  const interval = number("maintenance/interval");
  const line = api.getPropertyExtern(lineUrl + "#identification", "shortName");
  api.setPropertyExtern(url + "#maintenance/remaining", "value", interval - hours % interval);
  api.setPropertyExtern(url + "#display", "title",
                        line + " " + api.getProperty("identification", "tag"));
  api.setPropertyExtern(lineUrl + "#loads/" + name, "value", round(load, 1));
}
