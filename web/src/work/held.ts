import type { Client } from "../api/client";
import { Problem } from "../api/problem";
import type { Action, Photo } from "../state/reducer";

/** Asks for something of a kept photograph; one that the service let go meanwhile is handed over once more. */
export async function held<T>(client: Client, dispatch: (action: Action) => void, photo: Photo, use: (id: string) => Promise<T>): Promise<T> {
  if (photo.kept) {
    try {
      return await use(photo.kept.id);
    } catch (reason) {
      if (!(reason instanceof Problem && reason.status === 404)) throw reason;
    }
  }
  const kept = await client.keep(photo.file);
  dispatch({ do: "ready", key: photo.key, kept });
  return use(kept.id);
}
