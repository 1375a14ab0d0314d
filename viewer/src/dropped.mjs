// The files in what was dropped on the page, those of folders included.

const MOST_FILES = 2000;

function readEntries(reader) {
  return new Promise((resolve, reject) => reader.readEntries(resolve, reject));
}

async function filesOfEntry(entry, files) {
  if (files.length >= MOST_FILES) {
    return;
  }
  if (entry.isFile) {
    files.push(await new Promise((resolve, reject) => entry.file(resolve, reject)));
    return;
  }
  const reader = entry.createReader();
  for (let entries = await readEntries(reader); entries.length > 0; entries = await readEntries(reader)) {
    for (const own of entries) {
      await filesOfEntry(own, files);
    }
  }
}

/** transfer: the DataTransfer of a drop; to be called before the event is over. */
export async function droppedFiles(transfer) {
  const entries = [...transfer.items].map((item) => item.webkitGetAsEntry?.()).filter(Boolean);
  if (entries.length === 0) {
    return [...transfer.files];
  }
  const files = [];
  for (const entry of entries) {
    await filesOfEntry(entry, files);
  }
  return files;
}

/** Handles of the dropped files, with which a file that has grown can be read again; empty if the browser has none. */
export async function droppedHandles(transfer) {
  const items = [...transfer.items].filter((item) => item.kind === 'file' && item.getAsFileSystemHandle);
  const handles = await Promise.all(items.map((item) => item.getAsFileSystemHandle().catch(() => null)));
  return handles.every((handle) => handle?.kind === 'file') ? handles : [];
}
