import type { Failed, FailureField } from "./messages";

/** Why something was not done: what the photograph, the options or this machine do not allow. */
export class Failure extends Error {
  constructor(
    /** A stable name, such as `no_face` or `bad_option`; `not_loaded` where the studio itself could not be fetched. */
    readonly code: string,
    /** One line for people, in English. */
    text: string,
    /** Details by name, such as the bound that is not met; a name may come several times. */
    readonly fields: readonly FailureField[] = [],
  ) {
    super(text);
    this.name = "Failure";
  }
}

/** A failure as it is sent; what is none comes from the virtual machine or the network. */
export function failedOf(reason: unknown): Failed {
  if (!(reason instanceof Failure)) return { failure: { code: "engine", text: String(reason), fields: [] } };
  const { code, message, fields } = reason;
  return { failure: { code, text: message, fields: [...fields] } };
}
