// The real program as the tests' service: `idphoto serve` on a free port, ended with its children in every case.
import { spawn } from "node:child_process";

const running = new Set();

// Its own process group, so that nothing of it outlives a test that was killed in the middle.
function killAll(child) {
  try {
    process.kill(-child.pid, "SIGKILL");
  } catch {
    // It is gone already.
  }
}
process.on("exit", () => running.forEach(killAll));
for (const signal of ["SIGINT", "SIGTERM", "SIGHUP"]) process.on(signal, () => process.exit(1));

/** Starts the program; the same port again stands for a service that comes back. `more` are options of `serve`. */
export function startProgram(program, port = 0, ...more) {
  const args = ["serve", "--listen", `127.0.0.1:${port}`, "--jobs", "2", ...more];
  const child = spawn(program, args, { stdio: ["ignore", "pipe", "pipe"], detached: true });
  running.add(child);
  let log = "";
  child.stderr.on("data", (text) => { log += text; });
  const gone = new Promise((done) => child.once("close", done));
  gone.then(() => running.delete(child));
  /** Asks it to end, as a user does; ends with its status, or by force where it does not hear. */
  const stop = async () => {
    child.kill("SIGTERM");
    const late = setTimeout(() => killAll(child), 12_000);
    const status = await gone;
    clearTimeout(late);
    killAll(child);
    return status;
  };
  return new Promise((done, fail) => {
    child.stdout.once("data", (line) => {
      const address = String(line).trim();
      done({ address, port: Number(new URL(address).port), pid: child.pid, stop, log: () => log });
    });
    gone.then((status) => fail(new Error(`the service ended with ${status}: ${log}`)));
  });
}
