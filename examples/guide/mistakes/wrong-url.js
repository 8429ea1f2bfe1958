/// <reference path="../types/JavaScriptApi.d.ts" />

function onOpen(api) {
  api.getPropertyExtern("motor/ratedPower", "value");
  api.getPropertyExtern("config://plants/plant/pump#motor/ratedPower", "value");
  api.getPropertyExtern("config://plant/plant/pumps#motor/ratedPower", "value");
}
