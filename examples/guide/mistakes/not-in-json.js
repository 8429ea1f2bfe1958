/// <reference path="../types/JavaScriptApi.d.ts" />

function onOpen(api) {
  api.setProperty("motor/ratedCurrent", "value", 11 / undefined);
  api.setProperty("motor/ratedCurrent", "value", undefined);
  api.setProperty("motor/ratedCurrent", "value", new Date(0));
}
