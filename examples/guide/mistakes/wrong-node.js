/// <reference path="../types/JavaScriptApi.d.ts" />

function onOpen(api) {
  const power = api.getProperty("motor/power", "value");
  api.setProperty("motor/ratedCurrent", "value", power * 2);
}
