// The dialog of a pump: the motor protection follows the motor's current, and has its limits.

function onOpen(api) {
  api.setProperty("protection", "range", { min: 4, max: 16 });
}

function onValueChange(api, url) {
  if (url === "motor") {
    api.setProperty("protection", "setting", api.getProperty("motor", "ratedCurrent"));
  }
}

function onOk(api) {
  const range = api.getProperty("protection", "range");
  const setting = api.getProperty("protection", "setting");
  if (setting < range.min || setting > range.max) {
    api.setError("motor", "error.protectionRange", range);
    return false;
  }
}
