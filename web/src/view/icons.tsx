const paths = {
  undo: "M9 7 4 12l5 5M4 12h10a6 6 0 0 1 0 12h-2",
  redo: "m15 7 5 5-5 5M20 12H10a6 6 0 0 0 0 12h2",
  pass: "m5 12.500 4.500 4.500L19 7.500",
  fail: "M12 6v7.500M12 17.500v.010",
  look: "M2.500 12S6 5.500 12 5.500 21.500 12 21.500 12 18 18.500 12 18.500 2.500 12 2.500 12ZM12 9.500a2.500 2.500 0 1 0 0 5 2.500 2.500 0 0 0 0-5Z",
  close: "m6 6 12 12M18 6 6 18",
  add: "M12 5v14M5 12h14",
  back: "M5 12a7 7 0 1 1 2.500 5.400M5 18v-5h5",
  measures: "M4 5h16M4 19h16M12 5v14M9 8l3-3 3 3M9 16l3 3 3-3",
  compare: "M12 3v18M5 6h4v12H5zM15 6h4v12h-4z",
  move: "M12 3v18M3 12h18M9.500 5.500 12 3l2.500 2.500M9.500 18.500 12 21l2.500-2.500M5.500 9.500 3 12l2.500 2.500M18.500 9.500 21 12l-2.500 2.500",
  download: "M12 4v11M7 11l5 5 5-5M5 20h14",
  camera: "M4 8h4l1.500-2.500h5L16 8h4v11H4zM12 10a3.500 3.500 0 1 0 0 7 3.500 3.500 0 0 0 0-7Z",
  folder: "M3 6h6l2 2.500h10V19H3z",
  photo: "M12 15V4M7.500 8 12 3.500 16.500 8M4 14v5.500h16V14",
  lock: "M6 11h12v9H6zM8.500 11V8a3.500 3.500 0 0 1 7 0v3",
} as const;

export type IconName = keyof typeof paths;

/** A line drawing beside words; it says nothing by itself. */
export function Icon({ name }: { name: IconName }) {
  const shift = name === "undo" || name === "redo" ? "translate(0 -3.500)" : undefined;
  return (
    <svg class="icon" viewBox="0 0 24 24" aria-hidden="true"><path d={paths[name]} transform={shift} /></svg>
  );
}
