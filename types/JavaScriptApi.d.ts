/**
 * What a configuration script can call: the first argument of each of its event functions.
 *
 * Reference it from a script, and an editor completes and checks the calls:
 *
 *     /// <reference path="JavaScriptApi.d.ts" />
 *     // @ts-check
 *
 * A script is evaluated once; then its functions are called by name:
 *
 *     function onOpen(api)             the dialog of the instance has opened
 *     function onValueChange(api, url) the user changed the node with the relative URL url; for the
 *                                      root, whose URL is empty, url is left out
 *     function onOk(api)               the user wants to save; return false to refuse
 *     function onSave(api, url)        the dependencies of the instance with the absolute URL url
 *                                      are to be resolved
 *
 * They are declared with "function": what const, let and class declare stays invisible to the host.
 * Returning false reports failure; every other result, and none, is success. Throw Error objects
 * only: a string that is thrown counts as success.
 */

/** A value that a property can hold, and that crosses between scripts and the host. */
type ConfigValue =
  | null
  | boolean
  | number
  | string
  | ConfigValue[]
  | { [member: string]: ConfigValue };

/** One child of a tree's root, as getListOfNodeInstancesWithText() lists it. */
interface NodeInstance {
  /** The child's name; a relative URL from the root. */
  url: string;
  /** The child's label: a text, or the identifier of one. */
  text: string;
}

interface JavaScriptApi {
  /**
   * Reads a property of the script's own instance.
   *
   * @param relUrl child names joined by "/"; "" is the root
   * @returns a copy of the value: to change a map, change its members and write it back; undefined
   *          when there is no such node or property
   * @example const limits = api.getProperty("motor", "limits");
   */
  getProperty(relUrl: string, propertyKey: string): any;

  /**
   * Writes a property of the script's own instance, or adds it. The dialog saves it with the
   * instance. After onSave nobody saves the instance: write by absolute URL there.
   *
   * Read-only properties and values without a JSON form (undefined, NaN, functions) are refused,
   * with a warning in the host's log.
   *
   * @example api.setProperty("motor", "power", 11);
   */
  setProperty(relUrl: string, propertyKey: string, value: ConfigValue | Date): void;

  /**
   * Reads a property of any instance or process description of the module.
   *
   * @param absUrl config://module/object/instance#path, or process://… for process data; "%", "#"
   *        and other reserved characters in a part are percent-encoded
   * @returns as getProperty(); undefined also for a URL that is not valid, of another module, or of
   *          an unknown object or instance
   * @example api.getPropertyExtern("config://pumps/station/line1#pipe", "diameter");
   */
  getPropertyExtern(absUrl: string, propertyKey: string): any;

  /**
   * Writes a property of any instance or process description of the module, or adds it. The tree
   * is saved when all scripts have run.
   *
   * @example api.setPropertyExtern(url + "#motor", "power", 11);
   */
  setPropertyExtern(absUrl: string, propertyKey: string, value: ConfigValue | Date): void;

  /**
   * Reports an error to the user, at the node with the relative URL.
   *
   * @param errorLabelTextId identifier of the text to show
   * @param value what to show with the text
   * @example api.setError("motor/speed", "error.aboveMaximum", 3000);
   */
  setError(relUrl: string, errorLabelTextId: string, value?: ConfigValue | Date): void;

  /** Whether the script's own instance has a node with that relative URL. */
  isUrlValid(relUrl: string): boolean;

  /**
   * The texts of a unit by language.
   *
   * @param unit the unit's name
   * @returns null when the host does not know the unit; undefined when unit has no text form
   * @example api.getAllUnitTexts("rpm").en
   */
  getAllUnitTexts(unit: string | number): { [language: string]: string } | null | undefined;

  /** The name of the type of host. */
  getHostTypeName(): string;

  /**
   * Lists the direct children of the root of the tree that the URL addresses, whatever its path,
   * in no particular order. Empty when there is no such tree.
   *
   * @param withDynTexts true for the labels' texts, false for their identifiers
   * @example api.getListOfNodeInstancesWithText("config://pumps/station/line1", true)
   */
  getListOfNodeInstancesWithText(absUrl: string, withDynTexts: boolean): NodeInstance[];
}
