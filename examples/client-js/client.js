// A meeting client for the add-in, written from docs/protocol.md alone. It keeps its meetings in memory.
//   npm install
//   node client.js FOLDER [quorvex://HOST/h5page?page=launch]
// The file FOLDER/log-in logs the user in; FOLDER/change gives the last meeting a new subject. Each is deleted when it has
// had its effect. An installer would register this command line for the scheme "quorvex", with "%1" at its end.
const fs = require('fs');
const koffi = require('koffi');

koffi.struct('COPYDATASTRUCT', { dwData: 'uintptr_t', cbData: 'uint32_t', lpData: 'void *' });
koffi.struct('WNDCLASSW', {
  style: 'uint32_t', procedure: 'void *', extra: 'int', windowExtra: 'int', instance: 'intptr_t', icon: 'intptr_t',
  cursor: 'intptr_t', background: 'intptr_t', menu: 'intptr_t', name: 'str16'
});
const kernel32 = koffi.load('kernel32.dll');
const user32 = koffi.load('user32.dll');
const OpenMutexW = kernel32.func('intptr_t OpenMutexW(uint32_t access, int inherit, str16 name)');
const CreateMutexW = kernel32.func('intptr_t CreateMutexW(intptr_t security, int owned, str16 name)');
const RegisterClassW = user32.func('uint16_t RegisterClassW(WNDCLASSW *windowClass)');
const CreateWindowExW = user32.func('intptr_t CreateWindowExW(uint32_t extended, str16 name, str16 title, uint32_t style, ' +
  'int x, int y, int width, int height, intptr_t parent, intptr_t menu, intptr_t instance, intptr_t data)');
const procedureType = 'intptr_t DefWindowProcW(intptr_t window, uint32_t message, intptr_t wParam, intptr_t lParam)';
const DefWindowProcW = user32.func(procedureType);
const FindWindowExW = user32.func('intptr_t FindWindowExW(intptr_t parent, intptr_t after, str16 name, str16 title)');
const PeekMessageW = user32.func('int PeekMessageW(void *message, intptr_t window, uint32_t a, uint32_t b, uint32_t remove)');
const DispatchMessageW = user32.func('intptr_t DispatchMessageW(void *message)');
const SendMessageTimeoutW = user32.func('intptr_t SendMessageTimeoutW(intptr_t window, uint32_t message, intptr_t wParam, ' +
  'COPYDATASTRUCT *lParam, uint32_t flags, uint32_t limit, intptr_t result)');
const HWND_MESSAGE = -3, WM_COPYDATA = 0x4a, SMTO_ABORTIFHUNG = 2, SYNCHRONIZE = 0x100000;

const OWN = 'NbmProxyOutlookClientWnd', ADDIN = 'NbmProxyOutlookServerWnd';
const PREFIX = Buffer.from('%pre_nbmsdk%'), END = Buffer.from('%end_flag%');
const WHOLE = 1023, BODY = 1011;
const parts = new Map();    // bodies of unfinished messages, by number
const meetings = new Map(); // by confId
let window = 0;
let number = Date.now() % 0x7fffffff; // a client that starts again uses no number again
let lastId = 700000000;

// The add-in's window may be a new one each time. SMTO_BLOCK is not used, because this thread also has the own window.
function sendEnvelope(dwData, text) {
  const addin = FindWindowExW(HWND_MESSAGE, 0, ADDIN, ADDIN);
  const lpData = Buffer.concat([text, Buffer.alloc(1)]);
  return addin !== 0 && SendMessageTimeoutW(addin, WM_COPYDATA, window, { dwData, cbData: lpData.length, lpData },
    SMTO_ABORTIFHUNG, 3000, 0) !== 0;
}

function send(notification) {
  const message = Buffer.from(JSON.stringify(notification));
  if (message.length <= WHOLE) return void sendEnvelope(0, message);
  const own = number = number % 0xffffffff + 1;
  for (let at = 0, sent = true; sent && at < message.length; at += BODY) {
    const end = at + BODY < message.length ? Buffer.alloc(0) : END;
    sent = sendEnvelope(own, Buffer.concat([PREFIX, message.subarray(at, at + BODY), end]));
  }
}

function details(notify, meeting) {
  const url = `https://meeting.nembra.example/j/${meeting.confId}`;
  return { notify, ...meeting, url, contents: `You are invited: ${meeting.subject}\r\n${url}` };
}

function carryOut({ cmd, confId, confOutlookId, subject, startTime, endTime }) {
  const known = meetings.get(confId);
  const result = { confId: known?.confId ?? '', code: known ? 0 : 404, message: known ? 'success' : 'no such meeting' };
  if (cmd === 4) {
    const hour = (Math.floor(Date.now() / 3600000) + 1) * 3600; // for a command without an appointment
    const meeting = { confId: String(++lastId), confOutlookId: '', subject, startTime: startTime || hour,
      endTime: endTime || hour + 3600 };
    meetings.set(meeting.confId, meeting);
    send({ ...details(101, meeting), code: 0, message: 'success' });
  } else if (cmd === 5) {
    meetings.delete(confId);
    send({ notify: 103, ...result });
  } else if (cmd === 6) {
    if (known) Object.assign(known, { confOutlookId, subject, startTime, endTime });
    send({ notify: 102, ...result });
  }
}

// Works on a message after the window procedure has returned.
function later(message) {
  setImmediate(() => {
    try {
      carryOut(JSON.parse(message.toString('utf8')));
    } catch (error) {
      console.log(`dropped: ${error.message}`);
    }
  });
}

function receive({ dwData, cbData, lpData }) {
  if (!lpData || !cbData) return;
  const all = Buffer.from(koffi.decode(lpData, 'uint8_t', cbData)); // a copy
  const text = all.includes(0) ? all.subarray(0, all.indexOf(0)) : all;
  const id = Number(dwData);
  if (id === 0) return later(text);
  if (!text.subarray(0, PREFIX.length).equals(PREFIX)) return;
  const joined = Buffer.concat([parts.get(id) ?? Buffer.alloc(0), text.subarray(PREFIX.length)]);
  parts.set(id, joined);
  if (text.subarray(-END.length).equals(END)) {
    parts.delete(id);
    later(joined.subarray(0, -END.length));
  }
}

function onMessage(handle, message, wParam, lParam) {
  if (message !== WM_COPYDATA) return DefWindowProcW(handle, message, wParam, lParam);
  receive(koffi.decode(BigInt(lParam), 'COPYDATASTRUCT'));
  return 1;
}

function showWindow() {
  const procedure = koffi.register(onMessage, koffi.pointer(koffi.proto(procedureType)));
  RegisterClassW({ style: 0, procedure, extra: 0, windowExtra: 0, instance: 0, icon: 0, cursor: 0, background: 0, menu: 0,
    name: OWN });
  window = CreateWindowExW(0, OWN, OWN, 0, 0, 0, 0, 0, HWND_MESSAGE, 0, 0, 0);
}

function takeSignal(name) {
  const file = `${process.argv[2] ?? '.'}/${name}`;
  const there = fs.existsSync(file);
  if (there) fs.rmSync(file);
  return there;
}

// The launch URI may start a second process while the first waits for its log-in.
if (OpenMutexW(SYNCHRONIZE, 0, 'NembraExampleClient')) process.exit(0);
CreateMutexW(0, 0, 'NembraExampleClient');
const message = Buffer.alloc(48); // a MSG
setInterval(() => {
  while (PeekMessageW(message, 0, 0, 0, 1)) DispatchMessageW(message);
}, 5);
setInterval(() => {
  if (!window && takeSignal('log-in')) showWindow();
  const last = meetings.get(String(lastId));
  if (last && takeSignal('change')) send(details(200, Object.assign(last, { subject: `${last.subject}, changed` })));
}, 200);
