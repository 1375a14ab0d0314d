// Starts the worker and asks it. A page that was opened from a folder may not load a worker from a file, so its script is
// part of the page and starts from a blob.

export class WorkerClient {
  constructor(script, onProgress) {
    this.waiting = new Map();
    this.next = 1;
    this.worker = new Worker(URL.createObjectURL(new Blob([script], { type: 'text/javascript' })));
    this.worker.onmessage = ({ data }) => {
      if (data.progress) {
        onProgress(data.progress);
        return;
      }
      const { resolve, reject } = this.waiting.get(data.id);
      this.waiting.delete(data.id);
      if (data.error === undefined) {
        resolve(data.answer);
      } else {
        reject(new Error(data.error));
      }
    };
    this.worker.onerror = (event) => {
      const error = new Error(event.message || 'the worker cannot run');
      this.waiting.forEach(({ reject }) => reject(error));
      this.waiting.clear();
    };
  }

  ask(action, parameters = {}) {
    const id = this.next++;
    return new Promise((resolve, reject) => {
      this.waiting.set(id, { resolve, reject });
      this.worker.postMessage({ id, action, ...parameters });
    });
  }
}
