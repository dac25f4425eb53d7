import { createContext } from "preact";
import { useContext } from "preact/hooks";
import type { Client } from "../api/client";
import type { Preset } from "../api/types";
import type { Action, State } from "../state/reducer";
import type { Text } from "../text/text";

/** What every part of the page may need. */
export interface Studio {
  state: State;
  dispatch: (action: Action) => void;
  client: Client;
  presets: readonly Preset[];
  text: Text;
}

export const StudioContext = createContext<Studio | null>(null);

export function useStudio(): Studio {
  const studio = useContext(StudioContext);
  if (!studio) throw new Error("outside the studio");
  return studio;
}
