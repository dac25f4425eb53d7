export { Failure } from "./failure";
export type { FailureField, Photo, Picture, Pixels } from "./messages";
export type * from "./options";
export type * from "./reports";
export { KeptPhoto, Studio } from "./studio";
export type { CallOptions, Made, Pictures, SheetItem, StudioOptions } from "./studio";
export { isSupported } from "./support";
