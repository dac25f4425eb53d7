import { isAbort } from "../api/problem";

/**
 * Asks for the newest of many questions. While one gesture goes on, the question under way may finish, so that the
 * picture keeps up with a moving slider, and of those asked meanwhile only the last is kept; any other question cancels
 * what is under way.
 */
export class Latest<Question, Answer> {
  private running: AbortController | null = null;
  private next: Question | null = null;

  constructor(
    private readonly ask: (question: Question, signal: AbortSignal) => Promise<Answer>,
    private readonly answered: (answer: Answer, question: Question) => void,
    private readonly failed: (reason: unknown, question: Question) => void,
  ) {}

  post(question: Question, withinGesture: boolean): void {
    if (withinGesture && this.running) {
      this.next = question;
      return;
    }
    this.cancel();
    void this.start(question);
  }

  cancel(): void {
    this.running?.abort();
    this.running = null;
    this.next = null;
  }

  private async start(question: Question): Promise<void> {
    const controller = new AbortController();
    this.running = controller;
    try {
      const answer = await this.ask(question, controller.signal);
      if (this.running !== controller) return;
      this.answered(answer, question);
    } catch (reason) {
      if (this.running !== controller || isAbort(reason)) return;
      this.failed(reason, question);
    }
    this.running = null;
    const next = this.next;
    this.next = null;
    if (next !== null) void this.start(next);
  }
}
