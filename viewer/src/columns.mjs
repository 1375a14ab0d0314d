// Typed arrays that grow together: one entry in each per line, or per scope.

const FIRST_CAPACITY = 1024;

export class Columns {
  /** types: {name: TypedArrayConstructor} */
  constructor(types) {
    this.types = types;
    this.count = 0;
    this.capacity = FIRST_CAPACITY;
    for (const [name, Type] of Object.entries(types)) {
      this[name] = new Type(this.capacity);
    }
  }

  /** The place of a new entry, all of whose values are 0. */
  add() {
    if (this.count === this.capacity) {
      this.capacity *= 2;
      for (const [name, Type] of Object.entries(this.types)) {
        const grown = new Type(this.capacity);
        grown.set(this[name]);
        this[name] = grown;
      }
    }
    return this.count++;
  }

  /** Copies of the filled parts, whose buffers can be transferred to a different thread. */
  copy() {
    return Object.fromEntries(Object.keys(this.types).map((name) => [name, this[name].slice(0, this.count)]));
  }
}

/** Numbers for texts. */
export class Names {
  constructor() {
    this.list = [];
    this.numbers = new Map();
  }

  numberOf(text) {
    let number = this.numbers.get(text);
    if (number === undefined) {
      number = this.list.length;
      this.numbers.set(text, number);
      this.list.push(text);
    }
    return number;
  }
}
