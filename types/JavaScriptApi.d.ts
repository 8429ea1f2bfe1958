// What a configuration script can call, and what it can define.
//
// Reference this file from a script, and an editor completes and checks the calls:
//
//     /// <reference path="../types/JavaScriptApi.d.ts" />
//     // @ts-check
//
//     /** @type {OnOpen} */
//     function onOpen(api) {
//       api.setProperty("motor/ratedSpeed", "value", 1450);
//     }
//
// A script is evaluated once; then its event functions are called by name. They have to be declared
// with "function": what const, let and class declare stays invisible to the host.
//
// Nothing throws: what fails gives undefined, false or nothing, and a warning in the host's log.
// Only a call with too few arguments throws an Error.

// ---- Values ----

/**
 * A value that a property can hold, and that crosses between scripts and the host unchanged.
 *
 * Numbers are doubles: integers beyond 2^53 lose digits. The members of an object come sorted by
 * name. Objects and arrays are copies on both sides: to change one, read it, change it, and write it
 * back.
 */
type ConfigValue =
  | null
  | boolean
  | number
  | string
  | ConfigValue[]
  | { [member: string]: ConfigValue };

/**
 * A value that can be written. A Date is stored as a string, ISO 8601 in UTC, and read back as that
 * string. undefined, NaN, Infinity and functions have no JSON form: the write is refused.
 */
type WritableValue =
  | ConfigValue
  | Date
  | WritableValue[]
  | { [member: string]: any };

/** One child of a tree's root, as getListOfNodeInstancesWithText() lists it. */
type NodeInstance = {
  /** The child's name: a relative URL from the root. */
  url: string;
  /** The child's label: a text, or the identifier of one. */
  text: string;
};

// ---- Event functions ----

/**
 * What an event function says by its result: false for failure. Any other result is success, and so
 * is none. An Error that it throws is failure, too; throw nothing else, since a string that is
 * thrown counts as success.
 */
type EventResult = boolean | void;

/**
 * The dialog of the instance has opened.
 *
 * @example
 * function onOpen(api) {
 *   api.setProperty("motor/inputPower", "value", inputPower(api));
 * }
 */
type OnOpen = (api: JavaScriptApi) => EventResult;

/**
 * The user changed a node. The list of errors is empty again at each event: report about this node
 * only.
 *
 * url is the node's relative URL. For the root, whose URL is empty, it is left out.
 *
 * @example
 * function onValueChange(api, url) {
 *   if (url === "motor/ratedPower") {
 *     checkPower(api);
 *   }
 * }
 */
type OnValueChange = (api: JavaScriptApi, url?: string) => EventResult;

/**
 * The user wants to save: check everything, report what is wrong with setError(), and return false
 * to keep the dialog open.
 *
 * @example
 * function onOk(api) {
 *   return checkPower(api) && checkSpeed(api);
 * }
 */
type OnOk = (api: JavaScriptApi) => EventResult;

/**
 * Dependency scripts only: bring in line what depends on the instance. Scripts of a run are called
 * in no particular order.
 *
 * url is the absolute URL of the instance, without a path: "config://pumps/station/line1". Append
 * "#" and a relative URL to address a node of it. Read by relative URL or absolute URL; write by
 * absolute URL only, since nobody saves the instance otherwise.
 *
 * @example
 * function onSave(api, url) {
 *   const power = api.getProperty("motor/ratedPower", "value");
 *   api.setPropertyExtern(url + "#limits/power", "value", 1.1 * power);
 * }
 */
type OnSave = (api: JavaScriptApi, url: string) => EventResult;

// ---- The API ----

/**
 * The first argument of each event function.
 *
 * A relative URL is the names of the nodes on the way down from the root of the script's own
 * instance, joined by "/": "motor/ratedPower". "" is the root.
 *
 * An absolute URL addresses a node of any instance: config://module/object/instance#path, or
 * process://… for the description of its process data. Without "#" it means the root. "%", "#" and
 * other reserved characters within a part are percent-encoded. Only URLs of the scripts' own module
 * are accepted.
 *
 * Values are in the units that the project gives them; nothing is converted.
 */
interface JavaScriptApi {
  /**
   * Reads a property of the script's own instance.
   *
   * @param relUrl the node
   * @param propertyKey the property's name
   * @returns the value, a copy if it is an object or array; undefined when the node does not exist
   *          (with a warning), or has no such property (without one)
   * @example
   * const limits = api.getProperty("motor/ratedPower", "limits");
   * limits.max = 90;
   * api.setProperty("motor/ratedPower", "limits", limits);
   */
  getProperty(relUrl: string, propertyKey: string): any;

  /**
   * Writes a property of the script's own instance, or adds it to the node. A dialog saves it with
   * the instance. After onSave nobody saves the instance: write by absolute URL there.
   *
   * Nothing is written, with a warning, when the node does not exist, the property is read-only, or
   * the value has no JSON form. An equal value changes nothing, without a warning.
   *
   * @param relUrl the node
   * @param propertyKey the property's name
   * @param value in the unit that the node has
   * @example api.setProperty("motor/ratedPower", "value", 11);
   */
  setProperty(relUrl: string, propertyKey: string, value: WritableValue): void;

  /**
   * Reads a property of any instance or process description of the module.
   *
   * @param absUrl the node
   * @param propertyKey the property's name
   * @returns as getProperty(). undefined also for a URL that is not valid, of another module, or of
   *          an object or instance that is unknown; with a warning, except for an object that the
   *          host does not let scripts reach
   * @example api.getPropertyExtern("config://pumps/station/line1#pipe/diameter", "value")
   */
  getPropertyExtern(absUrl: string, propertyKey: string): any;

  /**
   * Writes a property of any instance or process description of the module, or adds it to the node.
   * The other scripts of the run see it at once; the files are saved when all scripts have run.
   *
   * Nothing is written, with a warning, in the cases of setProperty() and getPropertyExtern().
   *
   * @param absUrl the node
   * @param propertyKey the property's name
   * @param value in the unit that the node has
   * @example api.setPropertyExtern(url + "#limits/power", "value", 12.1);
   */
  setPropertyExtern(absUrl: string, propertyKey: string, value: WritableValue): void;

  /**
   * Reports an error to the user. It does not end the function, and is no failure by itself: return
   * false from onOk to keep the dialog open. Nothing comes back, and nothing is checked: neither
   * that the node exists nor that the text does.
   *
   * @param relUrl the node concerned, in the script's own instance
   * @param errorLabelTextId identifier of the text to show
   * @param value what to show with the text, for example the limit; may be left out
   * @example api.setError("motor/ratedPower", "error.aboveMaximum", 90);
   */
  setError(relUrl: string, errorLabelTextId: string, value?: WritableValue): void;

  /**
   * Whether the script's own instance has a node.
   *
   * @param relUrl the node
   * @returns false when it does not exist; without a warning
   * @example const hasPositioner = api.isUrlValid("positioner");
   */
  isUrlValid(relUrl: string): boolean;

  /**
   * The texts of a unit in all languages.
   *
   * @param unit the unit's name
   * @returns an object from language to text; null when the host does not know the unit; undefined,
   *          with a warning, when unit is an object or array
   * @example const label = api.getAllUnitTexts("rpm").en;
   */
  getAllUnitTexts(unit: string | number): { [language: string]: string } | null | undefined;

  /**
   * The name of the type of host that runs the script. It never fails.
   *
   * @example console.log("running on", api.getHostTypeName());
   */
  getHostTypeName(): string;

  /**
   * Lists the direct children of the root of the tree that a URL addresses, whatever the URL's path,
   * in no particular order.
   *
   * @param absUrl any node of the tree
   * @param withDynTexts true for the texts of the labels, false for their identifiers
   * @returns an empty array when there is no such tree, with a warning; as for getPropertyExtern()
   * @example
   * const children = api.getListOfNodeInstancesWithText("config://pumps/station/line1", true);
   * children.sort((a, b) => (a.url < b.url ? -1 : 1));
   */
  getListOfNodeInstancesWithText(absUrl: string, withDynTexts: boolean): NodeInstance[];
}

// ---- The console ----

/** Writes to the host's log. There is no other input or output, and there are no timers. */
interface Console {
  log(...values: any[]): void;
  debug(...values: any[]): void;
  info(...values: any[]): void;
  warn(...values: any[]): void;
  error(...values: any[]): void;
}

declare var console: Console;
