/// <reference path="../types/JavaScriptApi.d.ts" />

function onOpen(api) {
  console.log(api.getAllUnitTexts("kW")?.en);
}
