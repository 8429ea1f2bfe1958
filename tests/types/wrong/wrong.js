/// <reference path="../../../types/JavaScriptApi.d.ts" />
// @ts-check

/** @type {OnOpen} */
function onOpen(api) {
  api.getPropertie("motor", "speed");
  api.getProperty("motor");
  api.setProperty("motor", "speed", 1, true);
  api.setProperty("motor", "speed", Symbol("rpm"));
  api.setError("motor", 5);
  const valid = api.isUrlValid("motor");
  valid.toFixed(1);
  api.getListOfNodeInstancesWithText("config://pumps/station/line1", true)[0].name;
  setTimeout(onOpen, 100);
  document.title = "Motor";
  [1, 2].flat();
}

/** @type {OnValueChange} */
function onValueChange(api, url, value) {}

/** @type {OnOk} */
function onOk(api) {
  return "wrong";
}

/** @type {OnSave} */
function onSave(api, url) {
  url.path();
}
