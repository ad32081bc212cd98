// The library's shell-open check against a browser's URL parser (Node's
// built-in URL, the URL standard's parser), link by link over a corpus.
//
//   node tests/url/differential.mjs CORPUS -- [EMULATOR...] URL_VERDICTS
//
// CORPUS holds one link per line as a JSON string ("#" lines are comments).
// URL_VERDICTS (tests/url/url_verdicts.cpp, run under EMULATOR when given)
// says for each link what the library hands the shell. A link fails when
//   - the library opens it and the reference refuses it, reads another scheme,
//     host or port, or serializes it otherwise (the library's form is the
//     reference's href with every character RFC 3986 does not allow in the
//     path, query or fragment percent-encoded, and "'"; see shellForm); or
//   - the reference reads it as a plain http(s) link without credentials and
//     the library refuses it.
// "Plain" leaves out what the library refuses on purpose (common/include/
// WebUrl.h): control characters, invisible and space-like characters,
// malformed UTF-8, a missing "//" after the scheme, Punycode labels that spell
// no non-ASCII name, and hosts outside the
// supported characters (letters, digits, "-", "_", "." once mapped; non-ASCII
// only Latin-1 letters and the common CJK ideographs) or longer than 253
// bytes. Exits 1 on any failure, after listing them all.
import { spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { domainToUnicode } from 'node:url';

const args = process.argv.slice(2);
const dash = args.indexOf('--');
if (dash !== 1 || args.length < 3) {
  console.error('usage: differential.mjs CORPUS -- [EMULATOR...] URL_VERDICTS');
  process.exit(2);
}
const [corpusPath] = args;
const command = args.slice(dash + 1);

const links = readFileSync(corpusPath, 'utf8')
  .split('\n')
  .filter((line) => line.trim() !== '' && !line.startsWith('#'))
  .map((line) => JSON.parse(line));

// Links generated on top of the corpus from a fixed seed: hosts and paths
// built from the characters where the rules change (the edges of ASCII, the
// full-width forms, Latin-1, the ideographic full stops, the CJK block) and
// IPv4 numbers in every base, with the ports around their bounds.
function generatedLinks(count, seed) {
  let state = seed >>> 0;
  const next = (n) => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return (state >>> 8) % n;
  };
  const pick = (list) => list[next(list.length)];
  const char = (...codes) => codes.map((c) => String.fromCodePoint(c));
  const hostPieces = [
    'a', 'Ex', 'x-y', 'a_b', '0', '00', '017', '0x7f', '0X', '127', '255', '256', '4294967295',
    '4294967296', '1.2.3.4', '0.0.0.0', '%41', '%2e', '%00', 'xn--', ...char(0x7e, 0x7f, 0x80),
    ...char(0xbf, 0xc0, 0xd7, 0xdf, 0xf7, 0xff, 0x100, 0x3002, 0x4dff, 0x4e00, 0x9fa5, 0x9fa6),
    ...char(0xff00, 0xff01, 0xff10, 0xff21, 0xff0e, 0xff41, 0xff5e, 0xff5f, 0xff61),
  ];
  const pathChars = [
    ...Array.from({ length: 0x60 }, (_, i) => String.fromCharCode(0x20 + i)),
    ...char(0x80, 0xa0, 0xe9, 0x4e2d, 0xff01), '%', '%zz', '%41', '%2F',
  ];
  const links = [];
  for (let i = 0; i < count; i++) {
    const labels = Array.from({ length: 1 + next(4) }, () =>
      Array.from({ length: 1 + next(2) }, () => pick(hostPieces)).join(''));
    let host = labels.join(pick(['.', '.', char(0x3002)[0], char(0xff0e)[0]]));
    if (next(12) === 0) host = pick(['[::1]', '[::ffff:1.2.3.4]', '[1:0::]', '[0::0:1]']);
    const port = pick(['', '', ':', ':0', ':80', ':443', ':08', ':65535', ':65536']);
    const piece = () => Array.from({ length: next(5) }, () => pick(pathChars)).join('');
    const tail = '/' + piece() + (next(3) === 0 ? '?' + piece() : '') +
      (next(4) === 0 ? '#' + piece() : '');
    links.push(`${pick(['http', 'https', 'HTTP', 'hTtPs'])}://${host}${port}${tail}`);
  }
  return links;
}
links.push(...generatedLinks(3000, 20261125));

const run = spawnSync(command[0], command.slice(1), {
  input: links.map((link) => JSON.stringify(link)).join('\n') + '\n',
  maxBuffer: 64 << 20,
});
if (run.status !== 0) {
  console.error(`${command.join(' ')} exited with ${run.status}: ${run.stderr}`);
  // 77: the program could not run here (no 32-bit Wine): a skip, not a pass.
  process.exit(run.status === 77 ? 77 : 2);
}
const verdicts = run.stdout
  .toString('utf8')
  .split(/\r?\n/)
  .filter((line) => line !== '')
  .map((line) => JSON.parse(line));
if (verdicts.length !== links.length) {
  console.error(`${links.length} links, ${verdicts.length} verdicts`);
  process.exit(2);
}

// --- the reference's reading ---------------------------------------------

function parse(link) {
  try {
    return new URL(link);
  } catch {
    return null;
  }
}

const HIDDEN =
  /[\u0080-\u00A0\u00AD\u061C\u1680\u180E\u2000-\u200F\u2028-\u202F\u205F-\u206F\u3000\uFEFF\uFFF9-\uFFFB\u{E0000}-\u{E007F}]/u;

// A host character the library maps (and so takes): ASCII, the ideographic
// full stops, full-width ASCII, Latin-1 letters, the common CJK ideographs.
function isSupportedHostChar(c) {
  const code = c.codePointAt(0);
  return (
    code < 0x80 ||
    code === 0x3002 ||
    code === 0xff0e ||
    code === 0xff61 ||
    (code >= 0xff01 && code <= 0xff5e) ||
    (code >= 0xc0 && code <= 0xff && code !== 0xd7 && code !== 0xf7) ||
    (code >= 0x4e00 && code <= 0x9fa5)
  );
}

// The host as the link writes it: after "//", up to the path, query or
// fragment, after the credentials, without the port.
function writtenHost(link) {
  const rest = link.slice(link.indexOf('//') + 2);
  const end = rest.search(/[/\\?#]/);
  const authority = end < 0 ? rest : rest.slice(0, end);
  const host = authority.slice(authority.lastIndexOf('@') + 1);
  if (host.startsWith('[')) return host.slice(0, host.indexOf(']') + 1);
  const colon = host.indexOf(':');
  return colon < 0 ? host : host.slice(0, colon);
}

function percentDecoded(text) {
  const bytes = [];
  for (let i = 0; i < text.length; ) {
    const m = /^%([0-9A-Fa-f]{2})/.exec(text.slice(i));
    if (m) {
      bytes.push(parseInt(m[1], 16));
      i += 3;
    } else {
      const c = String.fromCodePoint(text.codePointAt(i));
      bytes.push(...Buffer.from(c, 'utf8'));
      i += c.length;
    }
  }
  try {
    return new TextDecoder('utf-8', { fatal: true }).decode(Uint8Array.from(bytes));
  } catch {
    return null;
  }
}

// Null when the reference reads `link` as a plain http(s) link; otherwise why
// not.
function notPlain(link, ref) {
  if (!ref) return 'the reference refuses it';
  if (ref.protocol !== 'http:' && ref.protocol !== 'https:') return 'not http(s)';
  if (ref.username || ref.password) return 'credentials';
  if (/[\u0000-\u001F\u007F]/.test(link)) return 'control character';
  if (HIDDEN.test(link)) return 'invisible character';
  if (!/^ *[A-Za-z][A-Za-z0-9+.-]*:\/\/[^/\\]/.test(link)) return 'no "//" and host';
  const host = ref.hostname;
  if (host.startsWith('[') || /^\d+\.\d+\.\d+\.\d+$/.test(host)) return null;
  const written = percentDecoded(writtenHost(link));
  if (written === null || ![...written].every(isSupportedHostChar)) return 'host characters';
  if (!/^[a-z0-9._-]+$/.test(host)) return 'host characters';
  if (![...domainToUnicode(host)].every((c) => /[a-z0-9._-]/.test(c) || isSupportedHostChar(c))) {
    return 'host characters';
  }
  // Punycode is taken only as the spelling of a name with non-ASCII letters.
  if (host.split('.').some((l) => l.startsWith('xn--') && !/[^\x00-\x7f]/.test(domainToUnicode(l)))) {
    return 'Punycode label';
  }
  if (host.replace(/\.$/, '').length > 253) return 'host too long';
  return null;
}

// The reference's href with every character RFC 3986 does not allow in the
// path, query or fragment percent-encoded (a "%" that starts no escape
// included), and "'": the form the library hands the shell.
function shellForm(ref) {
  const origin = `${ref.protocol}//${ref.host}`;
  const tail = ref.href.slice(origin.length);
  const hash = tail.indexOf('#');
  const beforeHash = hash < 0 ? tail : tail.slice(0, hash);
  const mark = beforeHash.indexOf('?');
  const path = mark < 0 ? beforeHash : beforeHash.slice(0, mark);
  const encode = (text, extra) =>
    text.replace(/%(?![0-9A-Fa-f]{2})|[^A-Za-z0-9\-._~!$&()*+,;=:@/%]/g, (c) =>
      extra.includes(c) ? c : `%${c.charCodeAt(0).toString(16).toUpperCase().padStart(2, '0')}`,
    );
  let form = origin + encode(path, '');
  if (mark >= 0) form += '?' + encode(beforeHash.slice(mark + 1), '?');
  if (hash >= 0) form += '#' + encode(tail.slice(hash + 1), '?');
  return form;
}

// --- comparison ------------------------------------------------------------

const failures = [];
const counts = { opened: 0, refused: 0, refusedOnPurpose: 0, plain: 0 };
const reasons = {};
links.forEach((link, i) => {
  const verdict = verdicts[i];
  const ref = parse(link);
  const why = notPlain(link, ref);
  if (why === null) counts.plain += 1;
  if (verdict.opened !== undefined) {
    counts.opened += 1;
    const mine = parse(verdict.opened);
    if (!ref || !mine) {
      failures.push(`${JSON.stringify(link)}: opened as ${verdict.opened}, the reference refuses`);
    } else if (mine.protocol !== ref.protocol || mine.hostname !== ref.hostname ||
               mine.port !== ref.port) {
      failures.push(`${JSON.stringify(link)}: opened ${mine.protocol}//${mine.host}, ` +
                    `the reference reads ${ref.protocol}//${ref.host}`);
    } else if (verdict.opened !== shellForm(ref)) {
      failures.push(`${JSON.stringify(link)}: opened ${verdict.opened}, expected ${shellForm(ref)}`);
    } else if (/[\s"'<>\\^`{|}]/.test(verdict.opened.slice(ref.protocol.length))) {
      failures.push(`${JSON.stringify(link)}: opened ${verdict.opened} holds a raw separator`);
    }
  } else {
    counts.refused += 1;
    if (why === null) {
      failures.push(`${JSON.stringify(link)}: refused, the reference reads ${ref.href}`);
    } else {
      counts.refusedOnPurpose += 1;
      reasons[why] = (reasons[why] || 0) + 1;
    }
  }
});

console.log(
  `${links.length} links: ${counts.plain} plain http(s) links by the reference; ` +
    `the library opened ${counts.opened}, refused ${counts.refused} ` +
    `(${counts.refusedOnPurpose} not plain); ${failures.length} differences`,
);
console.log(
  'refused and not plain: ' +
    Object.entries(reasons)
      .map(([why, n]) => `${n} ${why}`)
      .join(', '),
);
for (const failure of failures) console.log(`DIFFERENCE ${failure}`);
process.exit(failures.length === 0 ? 0 : 1);
