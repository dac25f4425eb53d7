export interface ProblemField { name: string; value: string | number }

/** Why something was not done: a problem document of the service, or the page's own word for a lost connection. */
export class Problem extends Error {
  constructor(
    /** HTTP status; 0 where no answer came. */
    readonly status: number,
    /** The service's code, such as `no_face`; `unreachable` where no answer came. */
    readonly code: string,
    readonly detail: string,
    /** Details by name, such as the bound that is not met; a name may come several times. */
    readonly fields: readonly ProblemField[] = [],
  ) {
    super(detail);
  }

  has(field: string): boolean {
    return this.fields.some(({ name }) => name === field);
  }

  get unreachable(): boolean {
    return this.status === 0;
  }
}

/** Reads the problem out of an answer; proxies in between may have sent something else than a problem document. */
export async function problemOf(answer: Response): Promise<Problem> {
  let code = "";
  let detail = "";
  let fields: ProblemField[] = [];
  try {
    const body = (await answer.json()) as { code?: unknown; detail?: unknown; fields?: unknown };
    if (typeof body.code === "string") code = body.code;
    if (typeof body.detail === "string") detail = body.detail;
    if (Array.isArray(body.fields)) fields = body.fields as ProblemField[];
  } catch {
    // No JSON: the status alone has to do.
  }
  return new Problem(answer.status, code || `status_${answer.status}`, detail || answer.statusText, fields);
}

/** Whether a rejected promise was only a cancelled request. */
export function isAbort(reason: unknown): boolean {
  return reason instanceof DOMException && reason.name === "AbortError";
}
