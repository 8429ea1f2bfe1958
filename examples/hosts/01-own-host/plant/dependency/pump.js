// What a pump's process data say of its current follows from its motor.

function onSave(api, url) {
  const processUrl = url.replace(/^config:/, "process:");
  const current = api.getProperty("motor", "ratedCurrent");
  api.setPropertyExtern(processUrl + "current", "range", { min: 0, max: 2 * current });
  api.setPropertyExtern(processUrl + "current", "unitTexts", api.getAllUnitTexts("A"));

  const parts = api.getListOfNodeInstancesWithText(url, true).map((part) => part.text).sort();
  api.setPropertyExtern(processUrl, "parts", parts);

  if (current > 13) {
    api.setError("motor", "warning.heavyCable", current);
  }
}
