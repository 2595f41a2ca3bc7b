// Time-based one-time codes as an authenticator app makes them (RFC 6238: HMAC-SHA-1, 6 digits,
// 30 s steps), from the base32 key a page shows.
import crypto from 'node:crypto';

const alphabet = 'ABCDEFGHIJKLMNOPQRSTUVWXYZ234567';

function base32Bytes(text) {
  let bits = '';
  for (const char of text.replace(/[\s=]/g, '').toUpperCase()) {
    const value = alphabet.indexOf(char);
    if (value < 0) throw new Error(`not base32: ${char}`);
    bits += value.toString(2).padStart(5, '0');
  }
  const bytes = bits.match(/.{8}/g) || [];
  return Buffer.from(bytes.map((byte) => Number.parseInt(byte, 2)));
}

const stepSeconds = 30;

function stepAt(milliseconds = Date.now()) {
  return Math.floor(milliseconds / 1000 / stepSeconds);
}

// The code of one time step, six digits as the device uses.
function codeOfStep(key, step, digits = 6) {
  const counter = Buffer.alloc(8);
  counter.writeBigUInt64BE(BigInt(step));
  const mac = crypto.createHmac('sha1', key).update(counter).digest();
  const offset = mac[mac.length - 1] & 0x0f;
  const value = mac.readUInt32BE(offset) & 0x7fffffff;
  return String(value % 10 ** digits).padStart(digits, '0');
}

// An app on the user's phone: each code it gives is for a step after the last one given, since the
// device refuses a step it accepted before (and any earlier one). It gives the current step's code,
// or the next one's (accepted for clock drift), and waits for time to pass when both were used.
export function authenticatorApp(secret) {
  const key = base32Bytes(secret);
  let last = -Infinity;
  return {
    async nextCode() {
      let now = stepAt();
      if (last >= now + 1) {
        await new Promise((resolve) => setTimeout(resolve, (last * stepSeconds - Date.now() / 1000) * 1000 + 200));
        now = stepAt();
      }
      const step = Math.max(now, last + 1);
      last = step;
      return codeOfStep(key, step);
    },
    // A code the device cannot take now: far from every accepted step.
    wrongCode() {
      return codeOfStep(key, stepAt() + 1000);
    },
  };
}
