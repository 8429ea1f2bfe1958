/// <reference path="../types/JavaScriptApi.d.ts" />

function onOpen(api) {
  api.setProperty("motor/ratedCurrent", 20.8);
}
