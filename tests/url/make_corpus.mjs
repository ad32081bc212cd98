// Writes tests/data/url_corpus.jsonl, the links of the URL differential test
// (tests/url/differential.mjs): ordinary shop links as pages carry them, the
// odd spellings of hosts, ports, paths and schemes that tricks use, and links
// generated from those parts with a fixed seed, so that the file is the same
// on every run.
//
//   node tests/url/make_corpus.mjs > tests/data/url_corpus.jsonl
const shopLinks = [
  'https://mall.example.com/goods/detail?id=1234567&sku=89&from=share',
  'https://m.mall.example.cn/goods.html?goods_id=3382910&refer_page_name=index&refer_page_id=10002',
  'https://shop.example.com/store/8812?tab=all&sort=price_asc&page=2',
  'https://mall.example.com/search?q=red shoes&size=42',
  'https://mall.example.com/search?q=\u8fde\u8863\u88d9 \u590f\u5b63&page=1',
  'https://shop.example.com/list?filter[color]=red&filter[size]=L',
  'https://shop.example.com/list?ids[]=1&ids[]=2&ids[]=3',
  'https://shop.example.com/tags?t=sale|new|hot',
  'https://shop.example.com/promo?discount=50%&code=SUMMER',
  'https://shop.example.com/promo?title=100% cotton',
  'https://shop.example.com/help#faq#shipping',
  'https://shop.example.com/app#/goods/123?from=wx#top',
  'https://shop.example.com/item/\u8ba2\u5355/123',
  'https://shop.example.com/item?name=\u624b\u673a\u58f3&color=\u9ed1\u8272',
  'https://shop.example.com/s?q="gift box"&t=1',
  "https://shop.example.com/s?q=men's shoes",
  'https://shop.example.com/s?q=<b>sale</b>',
  'https://shop.example.com/a/b/../c/./d?x=1',
  'https://shop.example.com/path with spaces/item.html',
  'https://shop.example.com/s?q=a^b&r={x}',
  'https://shop.example.com/s?q=`tick`',
  'https://shop.example.com/s?json={"a":1,"b":[2,3]}',
  'https://shop.example.com/s?q=a\\b',
  'https://shop.example.com/report.pdf?v=2#page=3',
  'https://shop.example.com:8443/admin/orders?status=paid',
  'http://shop.example.com:80/plain',
  'https://shop.example.com:443/default-port',
  'HTTPS://Shop.Example.COM/Upper/Case?Q=1',
  'https://shop.example.com',
  'https://shop.example.com?x=1',
  'https://shop.example.com#frag',
  'https://shop.example.com/?',
  'https://shop.example.com/#',
  'https://shop.example.com/emoji?e=\u{1F381}\u{1F389}',
  'https://cdn.shop-static.example.com/img/2026/11/a_b-c.jpg?w=750&q=80',
  'https://shop.example.com/r?url=https%3A%2F%2Fother.example%2Fx%3Fa%3D1',
  'https://shop.example.com/r?url=https://other.example/x?a=1',
  'https://shop.example.com/utm?utm_source=chat&utm_medium=link&utm_campaign=11.11',
  'https://shop.example.com/p/%E5%95%86%E5%93%81?id=%41%42',
  'https://shop.example.com/p?x=%zz&y=%4',
  'https://shop.example.com/p;jsessionid=ABC123?x=1',
  'https://shop.example.com/~user/page',
  'https://shop.example.com/a//b///c',
  'https://shop_example.example.com/underscore',
  'https://xn--fsqu00a.xn--0zwm56d/',
  'https://\u4f8b\u5b50.\u6d4b\u8bd5/\u8def\u5f84?\u67e5\u8be2=\u503c',
  'https://\u5546\u57ce.example.com/goods',
  'https://caf\u00e9.example/menu',
  'https://CAF\u00c9.example/menu',
  'https://stra\u00dfe.example.de/',
  'https://xn--caf-dma.example/menu',
  'https://\uff53\uff48\uff4f\uff50.example.com/fullwidth',
  'https://shop\u3002example\u3002com/ideographic-stop',
  'https://shop.example.com./trailing-dot',
  'https://[2001:db8::1]/v6',
  'https://[2001:DB8:0:0:1:0:0:1]:8443/v6',
  'https://203.0.113.7/ip',
  'https://203.0.113.7:8080/ip?x=1',
  '  https://shop.example.com/padded  ',
];

const oddSpellings = [
  // Credentials and authority tricks.
  'https://user:pw@shop.example.com/',
  'https://user@shop.example.com/',
  'https://:pw@shop.example.com/',
  'https://@shop.example.com/',
  'https://:@shop.example.com/',
  'https://shop.example.com@evil.example/',
  'https://shop.example.com\\@evil.example/',
  'https://evil.example\\shop.example.com/',
  'https://shop.example.com%40evil.example/',
  'https://shop.example.com%2Fevil.example/',
  'https://shop.example.com%5C@evil.example/',
  'https://shop.example.com#@evil.example/',
  'https://shop.example.com?@evil.example/',
  // Missing or doubled slashes.
  'https:shop.example.com/',
  'https:/shop.example.com/',
  'https:\\\\shop.example.com\\x',
  'https:/\\shop.example.com/',
  'https:///shop.example.com/',
  'https:////shop.example.com/',
  'https://',
  'https:///',
  'https://?x',
  'https://#x',
  // Ports.
  'https://shop.example.com:/x',
  'https://shop.example.com:0/x',
  'https://shop.example.com:00443/x',
  'https://shop.example.com:65535/x',
  'https://shop.example.com:65536/x',
  'https://shop.example.com:99999999999/x',
  'https://shop.example.com:8o8o/x',
  'https://shop.example.com:-1/x',
  'https://shop.example.com: 80/x',
  'https://:80/x',
  // IPv4 in every spelling.
  'http://127.0.0.1/',
  'http://0x7f.1/',
  'http://0x7F000001/',
  'http://2130706433/',
  'http://0177.0.0.1/',
  'http://0177.1/',
  'http://127.1/',
  'http://127.0.1/',
  'http://127.0.0.1./',
  'http://127.0.0.1../',
  'http://%31%32%37.0.0.1/',
  'http://\uff11\uff12\uff17.0.0.1/',
  'http://0x/',
  'http://0/',
  'http://4294967295/',
  'http://4294967296/',
  'http://256.0.0.1/',
  'http://1.2.3.4.5/',
  'http://1.2.3.09/',
  'http://shop.123/',
  'http://shop.0x1f/',
  'http://169.254.169.254/latest/meta-data/',
  // IPv6 in every spelling.
  'http://[::1]/',
  'http://[::]/',
  'http://[0:0:0:0:0:0:0:1]/',
  'http://[::ffff:127.0.0.1]/',
  'http://[::ffff:7f00:1]/',
  'http://[::127.0.0.1]/',
  'http://[1::]/',
  'http://[1:0:0:2::3:0]/',
  'http://[1:2:3:4:5:6:7:8]/',
  'http://[1:2:3:4:5:6:7:8:9]/',
  'http://[1::2::3]/',
  'http://[fe80::1%25eth0]/',
  'http://[::1/',
  'http://[::1]x/',
  'http://[1.2.3.4]/',
  'http://[::1.2.3]/',
  'http://[::1.2.3.04]/',
  'http://[FFFF::ABCD]:80/',
  // Host names.
  'http://localhost/',
  'http://LOCALHOST./',
  'http://intranet/',
  'http://sh\u043ep.example.com/',
  'http://xn--shp-ied.example.com/',
  'http://xn--/',
  'http://xn--a/',
  'http://xn--CAF-DMA.example/',
  'http://exa%E2%80%8Bmple.com/',
  'http://ex%41mple.com/',
  'http://ex%4.com/',
  'http://ex%zzample.com/',
  'http://a"b.example/',
  'http://a b.example/',
  'http://a<b.example/',
  'http://a^b.example/',
  'http://a|b.example/',
  'http://a{b}.example/',
  'http://a!b.example/',
  'http://a..b.example/',
  'http://.example/',
  'http://\u24b6.example/',
  'http://\u2160.example/',
  `http://${'a'.repeat(250)}.com/`,
  `http://${'a'.repeat(63)}.${'b'.repeat(63)}.${'c'.repeat(63)}.${'d'.repeat(57)}.com/`,
  // Control and invisible characters.
  'https://shop.example.com/a\tb',
  'https://shop.example.com/a\nb',
  'https://shop.exa\rmple.com/',
  'https://shop.example.com/\u0000',
  'https://shop.example.com/\u007f',
  '\u0001https://shop.example.com/',
  'https://shop.example.com/\u0085',
  'https://shop.example.com/\u00a0',
  'https://shop.example.com/\u200b',
  'https://shop.example.com/\u200e',
  'https://shop.example.com/\u202eexe.pdf',
  'https://shop.example.com/\u2066x\u2069',
  'https://shop.example.com/\u2028',
  'https://shop.example.com/\u3000',
  'https://shop.example.com/\ufeff',
  'https://shop.example.com/\u{E0041}',
  '\u200bhttps://shop.example.com/',
  'https://shop.exa\u00admple.com/',
  // Dot segments.
  'https://shop.example.com/a/%2e%2e/b',
  'https://shop.example.com/a/.%2E/b',
  'https://shop.example.com/a/%2E./b',
  'https://shop.example.com/a/%2e/b',
  'https://shop.example.com/../../etc/passwd',
  'https://shop.example.com/a/..',
  'https://shop.example.com/a/.',
  'https://shop.example.com/a/..?x',
  'https://shop.example.com/a/.#x',
  'https://shop.example.com\\a\\..\\b',
  // Other schemes (not opened under the default policy).
  'ftp://files.example.com/a',
  'ftp:a:b@evil.example/',
  'ws://chat.example.com/',
  'wss://chat.example.com/',
  'file:///C:/Windows/System32/calc.exe',
  'file://server/share/x.exe',
  'javascript:alert(1)',
  'data:text/html,<script>alert(1)</script>',
  'mailto:help@shop.example.com',
  'search-ms:query=x&crumb=location:\\\\evil\\s',
  'ms-msdt:/id PCWDiagnostic',
  'C:\\Windows\\System32\\calc.exe',
  '\\\\evil.example\\share\\x.exe',
  '//shop.example.com/protocol-relative',
  'shop.example.com/no-scheme',
  'ht tp://shop.example.com/',
  'h\u0074tps://shop.example.com/',
  '',
];

// A small seeded generator (mulberry32), so that the file never changes.
function generator(seed) {
  let state = seed >>> 0;
  return () => {
    state = (state + 0x6d2b79f5) >>> 0;
    let t = state;
    t = Math.imul(t ^ (t >>> 15), t | 1);
    t ^= t + Math.imul(t ^ (t >>> 7), t | 61);
    return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
  };
}

const parts = {
  scheme: ['https', 'http', 'HTTPS', 'hTTp', 'https', 'https', 'ftp', 'wss'],
  slashes: ['//', '//', '//', '//', '//', '\\\\', '/', '///', ''],
  credentials: ['', '', '', '', '', '', 'u@', 'u:p@', '@', ':@'],
  host: [
    'shop.example.com', 'm.mall.example.cn', 'cdn.shop-static.example.com', 'SHOP.Example.com',
    'shop.example.com.', '\u5546\u57ce.example.cn', 'caf\u00e9.example', 'xn--caf-dma.example',
    '203.0.113.9', '0xcb.0.0x71.9', '3405803785', '[2001:db8::5]', '[::ffff:203.0.113.9]',
    'ex%61mple.com', 'sh\u043ep.example', 'a_b.example.com', 'localhost', '10.0.0.8',
    '\uff53\uff48\uff4f\uff50.example', 'shop\u3002example\u3002cn',
  ],
  port: ['', '', '', '', ':443', ':80', ':8080', ':', ':08080', ':65536', ':x'],
  segment: [
    'goods', 'detail.html', '\u8ba2\u5355', 'a b', '[x]', 'a|b', '%', '%41', '%2e%2e', '..', '.',
    '"q"', "it's", '^', '{id}', '`', '~u', 'a;b=c', '@', ':', '\u{1F381}', 'x%zz', '\\', '',
  ],
  query: [
    '', '', '?id=1', '?q=red shoes', '?a[]=1&a[]=2', '?t=a|b', '?d=50%', "?q=men's", '?x="y"',
    '?\u67e5=\u503c', '?u=https://x.example/?a=1#', '?', '?a=%zz', '?a=b\\c', '?<x>', '?^`{}',
  ],
  fragment: ['', '', '', '#top', '#a#b', '#', '#x y', '#\u951a', '#"q"', '#|', '#%', "#it's", '#`'],
};

function pick(random, list) {
  return list[Math.floor(random() * list.length)];
}

function generated(count) {
  const random = generator(20261121);
  const links = [];
  for (let i = 0; i < count; ++i) {
    let path = '';
    const segments = Math.floor(random() * 4);
    for (let s = 0; s < segments; ++s) path += '/' + pick(random, parts.segment);
    links.push(
      pick(random, parts.scheme) + ':' + pick(random, parts.slashes) +
        pick(random, parts.credentials) + pick(random, parts.host) + pick(random, parts.port) +
        path + pick(random, parts.query) + pick(random, parts.fragment),
    );
  }
  return links;
}

const lines = [
  '# Links for the URL differential test (tests/url/differential.mjs), one JSON',
  '# string a line. Written by tests/url/make_corpus.mjs; do not edit by hand.',
  '# Ordinary shop links:',
  ...shopLinks.map((link) => JSON.stringify(link)),
  '# Odd spellings:',
  ...oddSpellings.map((link) => JSON.stringify(link)),
  '# Generated from the parts above:',
  ...generated(360).map((link) => JSON.stringify(link)),
];
process.stdout.write(lines.join('\n') + '\n');
