/// <reference path="../types/JavaScriptApi.d.ts" />

function onSave(api, url) {
  api.setProperty("motor/ratedCurrent", "value", 21);
}
