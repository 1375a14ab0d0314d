// What can be remarkable about a place of a log.

/** Kinds of marks, the most serious first. isOfLog: the line itself says less than the explanation. */
export const MARKS = [
  { kind: 'fault', text: 'fault pending', explanation: 'A fault, such as an access violation, was on its way through the process when this function ended.' },
  { kind: 'exception', text: 'exception', explanation: 'An exception left this function, or was reported.' },
  { kind: 'error', text: 'error', explanation: 'A whole operation failed.' },
  { kind: 'errorCode', text: 'error code', explanation: 'This function ended with an error code.' },
  { kind: 'warning', text: 'warning', explanation: 'A failure that the program survived, or a caught exception.' },
  { kind: 'noExit', text: 'no end', explanation: 'The begin of this function is in the log, its end is not.' },
  { kind: 'noEntry', text: 'no begin', explanation: 'The end of this function is in the log, its begin is not.' },
  { kind: 'full', text: 'log full', explanation: 'The file reached its size limit; this module of this program writes nothing more.' },
  { kind: 'queued', text: 'lines waited', explanation: 'These lines waited in memory, because the file could not be opened. Their times are those of the events.', isOfLog: true },
  { kind: 'clock', text: 'clock changed', explanation: 'The clock of the computer was changed here. The counter, which is not affected, orders the lines.', isOfLog: true },
];
