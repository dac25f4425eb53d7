/** Files from the visitor and back to them. */

export interface Named { name: string; file: Blob }

const kPicture = /\.(jpe?g|png|webp|heic|heif|tiff?)$/i;

function looksLikePicture(file: File): boolean {
  return file.type.startsWith("image/") || kPicture.test(file.name);
}

/** Of several files only the pictures are taken; a single file is taken as it is, so that its fault can be told. */
export function chosen(files: Iterable<File> | null | undefined): Named[] {
  const all = [...(files ?? [])];
  const pictures = all.length > 1 ? all.filter(looksLikePicture) : all;
  return pictures.sort((one, two) => one.name.localeCompare(two.name, undefined, { numeric: true }))
    .map((file) => ({ name: file.name, file }));
}

function filesOf(entry: FileSystemEntry): Promise<File[]> {
  if (entry.isFile)
    return new Promise((done) => (entry as FileSystemFileEntry).file((file) => done([file]), () => done([])));
  const reader = (entry as FileSystemDirectoryEntry).createReader();
  const batch = (): Promise<FileSystemEntry[]> => new Promise((done) => reader.readEntries(done, () => done([])));
  // A reader hands out a folder in pieces until it hands out none.
  const all = async (): Promise<File[]> => {
    const entries = await batch();
    if (entries.length === 0) return [];
    const here = await Promise.all(entries.map(filesOf));
    return [...here.flat(), ...(await all())];
  };
  return all();
}

/** What was dropped, folders opened. */
export async function dropped(data: DataTransfer): Promise<Named[]> {
  const entries = [...data.items].map((item) => item.webkitGetAsEntry?.()).filter((entry) => !!entry);
  if (entries.length === 0 || entries.every((entry) => entry.isFile)) return chosen(data.files);
  return chosen((await Promise.all(entries.map(filesOf))).flat());
}

/** Hands a file to the browser to be saved. */
export function save(file: Blob, name: string): void {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(file);
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60_000);
}

export function stem(name: string): string {
  return name.replace(/\.[^.]*$/, "") || "photo";
}

export async function bytesOf(file: Blob): Promise<Uint8Array<ArrayBuffer>> {
  return new Uint8Array(await file.arrayBuffer());
}
