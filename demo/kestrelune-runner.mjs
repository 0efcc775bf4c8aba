#!/usr/bin/env node
// A stand-in for the Kestrelune helper: it keeps a status file as the helper would, obeys the helper's command line,
// and misbehaves when ordered to. It is one file without dependencies, because the companion carries, hashes and
// places the helper as one file. Needs Node 18 or newer.
//
//   run SCENE [--status FILE] [--seconds N] [--quiet]   walk through a scene or a tour; SIGUSR2 goes to the next scene
//   run --service                                       the long-running helper under a helper root
//   install --in-app | version | help                   and the commands in the table at the end of this file
//
// The helper root is --root, else KESTRELUNE_DEMO_ROOT, else the folder that holds this file's folder "helper".
// Orders: "orders.json" beside the status file, or JSON in KESTRELUNE_DEMO_ORDERS; an object from a command's first
// word (or "*") to an order, see obey() and orderedEnd(). An order with "times" is used up that many times.

import { spawn } from 'node:child_process';
import { closeSync, existsSync, fsyncSync, mkdirSync, openSync, readFileSync, renameSync, rmSync, statSync, unlinkSync,
  writeFileSync, writeSync } from 'node:fs';
import { basename, dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const VERSION = '1.4.0';
const self = fileURLToPath(import.meta.url);
const pause = (seconds) => new Promise((done) => setTimeout(done, seconds * 1000));
const iso = (date = new Date()) => date.toISOString();

class Refusal extends Error {
  constructor(reason, code = 1) {
    super(reason);
    this.code = code;
  }
}

// ---------------------------------------------------------------------------------------------------------------
// This Mac and its account, as they are when nothing in particular happens. Times such as "-120s", "+3h" count from
// the moment of writing.

const home = {
  schemaVersion: 1,
  helperVersion: VERSION,
  state: 'running',
  computer: 'Mia’s MacBook Pro',
  server: 'https://kestrelune.example',
  lastServerContactAt: '-3s',
  serverReachable: true,
  wake: 'push',
  apps: [
    { host: 'codex', name: 'Codex', state: 'ready', checkedAt: '-20s', version: '0.98.2',
      account: { email: 'mia@lindenhof.example', plan: 'Plus' },
      usage: { left: 62, resets_at: '+2h',
        windows: [{ kind: 'session', used: 38, resets_at: '+2h' }, { kind: 'weekly', used: 21, resets_at: '+4d' }],
        tokens: { today: { tokens: 1840000, usd: 4.12, unpriced: 0 }, week: { tokens: 9200000, usd: 21.4 },
          month: { tokens: 41300000, usd: 96.75 }, top: [{ model: 'gpt-5-codex', tokens: 1700000, usd: 3.9 }] } } },
    { host: 'claude', name: 'Claude Code', state: 'ready', checkedAt: '-20s', version: '2.3.1',
      account: { email: 'mia@lindenhof.example', plan: 'Max' },
      usage: { left: 81, windows: [{ kind: 'session', used: 19, resets_at: '+4h' }, { kind: 'weekly', used: 44, resets_at: '+2d' }],
        tokens: { today: { tokens: 920000, usd: 6.8 }, month: { tokens: 30500000, usd: 188.2 },
          top: [{ model: 'claude-opus-4', tokens: 700000, usd: 6.1 }] } } },
    { host: 'cursor', name: 'Cursor', state: 'ready', checkedAt: '-20s', version: '1.9.4',
      account: { email: 'mia.brandt@a-rather-long-domain.example', plan: 'Pro' },
      usage: { windows: [{ kind: 'monthly', used: 57, resets_at: '+11d' }] } },
    { host: 't3code', name: 'T3 Code', state: 'ready', checkedAt: '-20s', version: '0.4.0' },
    { host: 'antigravity', state: 'not_installed', checkedAt: '-20s' },
  ],
  tasks: { running: 0 },
  running: [],
  attention: [],
  connections: [
    { family: 'claude', name: 'Claude', state: 'connected', last_used_at: '-9m', access: 'delegate' },
    { family: 'chatgpt', state: 'connected', last_used_at: '-3h', access: 'delegate' },
    { family: 'cursor', state: 'connected', last_used_at: '-2d', access: 'read' },
  ],
  done: [],
  computers: [
    { name: 'Mia’s MacBook Pro', online: 'online', apps: 'Codex, Claude Code, Cursor, T3 Code' },
    { name: 'Studio Mac mini', online: 'offline', apps: 'Codex' },
  ],
  projects: ['garden-shop', 'tax-2026', 'choir-website'],
  workers: { mode: 'automatic', apps: [] },
  autoDelegate: true,
  profiles: [
    { executorId: '00000000-0000-4000-8000-000000000001', name: 'Codex on Mia’s MacBook Pro', thisMac: true, by: 'ai',
      profile: 'Builds and tests the garden shop. Knows its payment code and the release checklist.' },
    { executorId: '00000000-0000-4000-8000-000000000002', name: 'Claude Code on Mia’s MacBook Pro', thisMac: true, by: 'owner',
      profile: 'Texts, invoices, and everything about the choir. Asks before it sends anything.' },
    { executorId: '00000000-0000-4000-8000-000000000003', name: 'Codex on Studio Mac mini', thisMac: false },
  ],
};

const homeTools = {
  schemaVersion: 2,
  view: [
    { id: 'computer_use', on: true, available: true, mode: 'direct', to: ['claude', 'cursor'] },
    { id: 'computer_history', on: true, available: true, mode: 'task', to: ['claude'] },
    { id: 'skills', on: true, available: true, mode: 'direct', to: ['codex', 'claude', 'cursor'] },
  ],
  newApps: ['cursor'],
};

const homeSchedules = [
  { schedule_id: 'a1f0-01', name: 'Morning inbox', when: 'weekdays at 08:00', next_run_at: '+14h', app: 'Claude Code', computer: home.computer },
  { schedule_id: 'a1f0-02', name: 'Dependency check', when: 'Mondays at 06:30', next_run_at: '+3d', app: 'Codex', computer: 'Studio Mac mini' },
  { schedule_id: 'a1f0-03', name: 'Choir newsletter', when: 'first of the month', paused: true, pause_note: 'Paused until the summer break ends', app: 'Cursor' },
];

const homeHistory = [
  ['b0-41', '#41', 'Invoice layout for Lindenhof', 'done', '12 pages, all totals agree with the ledger.', 'Claude', 'Codex', '-26h'],
  ['b0-40', '#40', 'Reply to the supplier about late seeds', 'done', 'Sent after you agreed.', 'ChatGPT', 'Claude Code', '-50m'],
  ['b0-39', '#39', 'Speed up the product page', 'done', 'Largest paint from 3.1 s to 1.2 s.', 'Cursor', 'Cursor', '-2h'],
  ['b0-38', '#38', 'Sort the choir’s photos', 'done', '1,204 photos in 31 albums.', 'Claude', 'T3 Code', '-3d'],
];

// ---------------------------------------------------------------------------------------------------------------
// Files. What another process reads is placed whole: temporary name, sync, rename, sync of the folder.

function place(path, text) {
  const folder = dirname(path);
  mkdirSync(folder, { recursive: true, mode: 0o700 });
  const temporary = join(folder, `.${basename(path)}-${process.pid}-${Math.random().toString(36).slice(2)}.tmp`);
  const file = openSync(temporary, 'wx', 0o600);
  try {
    writeSync(file, text);
    fsyncSync(file);
  } finally {
    closeSync(file);
  }
  try {
    renameSync(temporary, path);
  } catch (error) {
    rmSync(temporary, { force: true });
    throw error;
  }
  const held = openSync(folder, 'r');
  try {
    fsyncSync(held);
  } finally {
    closeSync(held);
  }
}

const placeJson = (path, value) => place(path, `${JSON.stringify(value, null, 1)}\n`);

function readJson(path, absent) {
  try {
    return JSON.parse(readFileSync(path, 'utf8'));
  } catch {
    return absent;
  }
}

/// "-120s", "+3h" and the like anywhere in a value become times.
function settleTimes(value, now) {
  const units = { s: 1, m: 60, h: 3600, d: 86400 };
  if (Array.isArray(value)) return value.map((item) => settleTimes(item, now));
  if (value && typeof value === 'object') {
    return Object.fromEntries(Object.entries(value).map(([key, item]) => [key, settleTimes(item, now)]));
  }
  const match = typeof value === 'string' && /^([+-]\d+(?:\.\d+)?)([smhd])$/.exec(value);
  return match ? iso(new Date(now.getTime() + Number(match[1]) * units[match[2]] * 1000)) : value;
}

class Places {
  constructor(runner) {
    this.runner = runner;
    this.status = join(runner, 'status.json');
    this.choices = join(runner, 'choices.json');
    this.orders = join(runner, 'orders.json');
    this.smallModel = join(runner, 'small-model.json');
    this.sharedTools = join(runner, 'share-tools.json');
    this.progress = join(runner, 'update-all.json');
    this.reports = join(runner, 'reports');
    this.marker = join(runner, 'in-app');
    this.scene = join(runner, 'scene.json');
  }
}

function rootIfAny(options) {
  const given = options.root ?? process.env.KESTRELUNE_DEMO_ROOT;
  if (given) return resolve(given);
  return basename(dirname(self)) === 'helper' ? dirname(dirname(self)) : undefined;
}

function helperRoot(options) {
  const root = rootIfAny(options);
  if (!root) throw new Refusal('There is no helper root: give --root or KESTRELUNE_DEMO_ROOT.', 2);
  return root;
}

// ---------------------------------------------------------------------------------------------------------------
// Orders: how a test makes the stand-in misbehave.

const inherited = process.env.KESTRELUNE_DEMO_ORDERS && JSON.parse(process.env.KESTRELUNE_DEMO_ORDERS);
const ordersNow = (places) => inherited ?? readJson(places.orders, {});

function orderFor(places, command) {
  const all = ordersNow(places);
  const key = all[command] ? command : '*';
  const order = all[key] ?? {};
  if (order.times === undefined) return order;
  if (order.times <= 0) return {};
  if (!inherited) placeJson(places.orders, { ...all, [key]: { ...order, times: order.times - 1 } });
  return order;
}

/// Carries out what an order says of a short command, before the command's own work.
///   slow: seconds to wait first · print: bytes to write first, to "stream" "stdout" or "stderr", in lines unless
///   "unbroken" · ignoreTerm: SIGTERM does nothing · hang: never end · grandchild: seconds for which a child of its
///   own keeps the streams open · closeStreams · fail: the reason on standard error, exit status "code" or 1 ·
///   signal: die by it
async function obey(order) {
  if (order.ignoreTerm) process.on('SIGTERM', () => {});
  if (order.grandchild) spawn('sleep', [String(order.grandchild)], { stdio: 'inherit', detached: true }).unref();
  if (order.print) await flood(order);
  if (order.closeStreams) [1, 2].forEach((stream) => closeSync(stream));
  if (order.slow) await pause(order.slow);
  if (order.hang) await pause(2 ** 20);
  if (order.signal) await dieBy(order.signal);
  if (order.fail !== undefined) throw new Refusal(order.fail, order.code ?? 1);
}

async function flood({ print, stream = 'stdout', unbroken = false }) {
  const line = unbroken ? 'x'.repeat(65536) : `${'The quick brown fox asks for one more log line. '.repeat(21)}\n`.repeat(65);
  const out = process[stream];
  for (let left = print; left > 0; left -= line.length) {
    if (!out.write(line.slice(0, left))) await new Promise((drained) => out.once('drain', drained));
  }
}

async function dieBy(signal) {
  process.kill(process.pid, signal);
  await pause(60);
}

/// What an order to "run" asks of the long-running helper: after "after" seconds exit with "exit", die by "signal", or
/// "update" itself to that version (a changed file of its own, then exit status 75).
async function orderedEnd(places, startedAt) {
  if (Date.now() - startedAt < (ordersNow(places).run?.after ?? 0) * 1000) return;
  const order = orderFor(places, 'run');
  if (order.signal) await dieBy(order.signal);
  if (order.update && order.update !== VERSION) {
    const text = readFileSync(self, 'utf8').replace(/^const VERSION = '.*';$/m, `const VERSION = '${order.update}';`);
    place(self, text);
    process.exit(75);
  }
  if (order.exit !== undefined) process.exit(order.exit);
}

// ---------------------------------------------------------------------------------------------------------------
// Scenes: what happens on this Mac. A scene file holds one object:
//   name, extends (another scene file beside it), status (keys that replace those of the status), apps and connections
//   (changes by host and family), raw (the file's bytes instead), gone (no file), smallModel, sharedTools
// A tour holds "scenes", a list of scene files or of objects with "scene" and "seconds", and "seconds" for the rest.

function readScene(path) {
  const scene = JSON.parse(readFileSync(path, 'utf8'));
  if (!scene.extends) return scene;
  const under = readScene(join(dirname(path), scene.extends));
  const merged = { ...under, ...scene, status: { ...under.status, ...scene.status } };
  for (const list of ['apps', 'connections']) merged[list] = { ...under[list], ...scene[list] };
  return merged;
}

function readTour(path, seconds) {
  const top = JSON.parse(readFileSync(path, 'utf8'));
  if (!top.scenes) return [{ scene: readScene(path), seconds: Infinity }];
  return top.scenes.map((entry) => {
    const { scene, seconds: own } = typeof entry === 'string' ? { scene: entry } : entry;
    return { scene: readScene(join(dirname(path), scene)), seconds: seconds ?? own ?? top.seconds ?? 20 };
  });
}

const change = (list, key, changes = {}) => list?.map((item) => ({ ...item, ...changes[item[key]] }));

function changeAndAdd(list, key, changes = {}) {
  const added = Object.keys(changes).filter((name) => !list.some((item) => item[key] === name));
  return [...change(list, key, changes), ...added.map((name) => ({ [key]: name, ...changes[name] }))];
}

const ownProfile = 'Has read its own notes again: careful with money, quick with layouts, best asked in the morning.';

/// What the user chose through the command line, over what the scene says.
function applyChoices(status, choices) {
  const result = { ...status };
  result.apps = change(result.apps, 'host', choices.apps);
  result.connections = change(result.connections, 'family', choices.connections);
  if (choices.workers) result.workers = choices.workers;
  if (choices.autoDelegate !== undefined) result.autoDelegate = choices.autoDelegate;
  result.profiles = result.profiles?.map((record) => {
    const chosen = choices.profiles?.[record.executorId];
    if (!chosen) return record;
    if (chosen.profile) return { ...record, ...chosen };
    const { profile: _, by: __, ...bare } = record;
    return Date.now() - chosen.clearedAt < 10_000 ? bare : { ...bare, profile: ownProfile, by: 'ai' };
  });
  return result;
}

function compose(scene, choices, now, startedAt, pid) {
  const status = { ...home, startedAt: iso(new Date(startedAt)), updatedAt: iso(now), pid, ...scene.status };
  status.apps = changeAndAdd(status.apps ?? [], 'host', scene.apps);
  status.connections = changeAndAdd(status.connections ?? [], 'family', scene.connections);
  return settleTimes(applyChoices(status, choices), now);
}

function writeScene(places, scene, startedAt) {
  if (scene.gone) {
    rmSync(places.status, { force: true });
  } else if (scene.raw !== undefined) {
    place(places.status, scene.raw);
  } else {
    placeJson(places.status, compose(scene, readJson(places.choices, {}), new Date(), startedAt, process.pid));
  }
}

/// The small files of a scene are written when it begins; after that they belong to the commands.
function beginScene(places, scene) {
  if (scene.smallModel) placeJson(places.smallModel, scene.smallModel);
  if (scene.sharedTools) placeJson(places.sharedTools, scene.sharedTools);
  else if (!existsSync(places.sharedTools)) placeJson(places.sharedTools, homeTools);
}

async function walk(places, load, { quiet, service }) {
  const startedAt = Date.now();
  let [source, stops] = load();
  const say = (line) => quiet || process.stdout.write(`${iso()} ${line}\n`);
  let at = 0;
  let since = Date.now();
  let wake = () => {};
  let ended = false;
  const end = () => {
    ended = true;
    wake();
  };
  const ignoreTerm = service && (ordersNow(places).run?.ignoreTerm ?? false);
  process.on('SIGTERM', () => (ignoreTerm ? say('SIGTERM is ignored, as ordered') : end()));
  process.on('SIGINT', end);
  process.on('SIGHUP', end);
  process.on('SIGUSR2', () => {
    since = -Infinity;
    wake();
  });
  say(`Kestrelune helper ${VERSION} (stand-in), pid ${process.pid}, ${stops.length} scene(s)`);
  let begun = false;
  while (!ended) {
    if (service) await orderedEnd(places, startedAt);
    const [newSource, newStops] = load();
    const other = newSource !== source;
    if (other || Date.now() - since >= stops[at].seconds * 1000) {
      [source, stops] = [newSource, newStops];
      at = other ? 0 : (at + 1) % stops.length;
      since = Date.now();
      begun = false;
    }
    if (!begun) beginScene(places, stops[at].scene);
    writeScene(places, stops[at].scene, startedAt);
    if (!begun) say(`scene ${stops[at].scene.name ?? 'home'}`);
    begun = true;
    await new Promise((done) => {
      const timer = setTimeout(done, 2000);
      wake = () => {
        clearTimeout(timer);
        done();
      };
    });
  }
  if (service) writeScene(places, { ...stops[at].scene, raw: undefined, status: { ...stops[at].scene.status, state: 'stopped' } }, startedAt);
  say('ended');
}

async function run(options, words) {
  if (options.service) {
    const places = new Places(join(helperRoot(options), 'runner'));
    await walk(places, () => serviceScenes(places, options), { service: true });
    return;
  }
  if (words.length !== 1) throw new Refusal('run needs one scene file, or --service.', 2);
  const places = new Places(options.status ? dirname(resolve(options.status)) : join(helperRoot(options), 'runner'));
  if (options.status) places.status = resolve(options.status);
  const stops = readTour(words[0], options.seconds);
  await walk(places, () => [words[0], stops], options);
}

/// The service follows "scene.json" beside the status file, also one that is put there or changed meanwhile, else
/// KESTRELUNE_DEMO_SCENE, else nothing in particular happens.
function serviceScenes(places, options) {
  const file = [places.scene, process.env.KESTRELUNE_DEMO_SCENE].find((path) => path && existsSync(path));
  if (!file) return ['', [{ scene: { name: 'home' }, seconds: Infinity }]];
  return [`${file} ${statSync(file).mtimeMs}`, readTour(file, options.seconds)];
}

// ---------------------------------------------------------------------------------------------------------------
// Commands that change something: kept in "choices.json", and put into the present status at once, so that a reader
// needn't wait for the next writing.

function choose(places, alter) {
  const lock = join(places.runner, '.choices.lock');
  mkdirSync(places.runner, { recursive: true, mode: 0o700 });
  for (;;) {
    try {
      closeSync(openSync(lock, 'wx', 0o600));
      break;
    } catch (error) {
      if (error.code !== 'EEXIST') throw error;
      if (existsSync(lock) && Date.now() - statSync(lock).mtimeMs > 5000) rmSync(lock, { force: true });
      Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, 20);
    }
  }
  try {
    const choices = readJson(places.choices, {});
    alter(choices);
    placeJson(places.choices, choices);
    const status = readJson(places.status);
    if (status) placeJson(places.status, applyChoices(status, choices));
  } finally {
    unlinkSync(lock);
  }
}

const merge = (choices, list, key, value) => {
  choices[list] = { ...choices[list], [key]: { ...choices[list]?.[key], ...value } };
};

function oneOf(word, allowed, what) {
  if (!allowed.includes(word)) throw new Refusal(`“${word ?? ''}” is not ${what} (${allowed.join(', ')}).`, 2);
  return word;
}

const onOff = (word) => oneOf(word, ['on', 'off'], 'a choice') === 'on';
const hosts = ['codex', 'claude', 'cursor', 't3code', 'antigravity'];
const families = ['claude', 'chatgpt', 'cursor', 'grok', 'google'];

function switchPower(places, [to, kind, name]) {
  oneOf(kind, ['connection', 'app'], 'something to switch');
  oneOf(to, kind === 'app' ? ['off', 'on'] : ['off', 'on', 'read', 'delegate'], 'a switch position');
  oneOf(name, kind === 'app' ? hosts : families, `a known ${kind}`);
  const value = to === 'off' || to === 'on' ? { power: to } : { access: to };
  choose(places, (choices) => merge(choices, kind === 'app' ? 'apps' : 'connections', name, value));
}

function workers(places, [value]) {
  oneOf(value, ['auto', 'codex', 'claude', 'cursor', 't3code'], 'a worker setting');
  const chosen = value === 'auto' ? { mode: 'automatic', apps: [] } : { mode: 'only', apps: [value] };
  choose(places, (choices) => Object.assign(choices, { workers: chosen }));
}

function profile(places, [verb, id, text]) {
  oneOf(verb, ['set', 'clear'], 'something to do with a profile');
  if (!/^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$/i.test(id ?? '')) throw new Refusal('There is no AI with this identifier.');
  if (verb === 'set' && !text) throw new Refusal('A profile needs a text.', 2);
  const value = verb === 'set' ? { profile: text, by: 'owner' } : { profile: undefined, by: undefined, clearedAt: Date.now() };
  choose(places, (choices) => merge(choices, 'profiles', id, value));
}

function shareTools(places, [verb, tool, position]) {
  const tools = readJson(places.sharedTools, homeTools);
  if (oneOf(verb, ['set', 'seen'], 'something to do with shared tools') === 'seen') {
    tools.newApps = [];
  } else {
    const known = tools.view.find((item) => item.id === tool);
    if (!known) throw new Refusal(`There is no shared tool “${tool ?? ''}”.`);
    known.on = onOff(position);
  }
  placeJson(places.sharedTools, tools);
}

const raised = (version = '1.0.0') => version.replace(/\d+$/, (last) => String(Number(last) + 1));

function appNow(places, host) {
  const status = readJson(places.status) ?? compose({}, readJson(places.choices, {}), new Date(), Date.now(), process.pid);
  return (status.apps ?? []).find((app) => app.host === host);
}

function markUpdated(places, host, version) {
  choose(places, (choices) => merge(choices, 'apps', host, { version, outdated: false }));
}

async function updateApp(places, [host], options, order) {
  oneOf(host, ['codex', 'claude', 'cursor'], 'an app with an update command');
  const app = appNow(places, host);
  if (!app || app.state === 'not_installed') throw new Refusal(`${host} is not installed on this Mac.`);
  process.stdout.write(`Updating ${app.name ?? host} ${app.version} …\n`);
  await pause(order.seconds ?? 1);
  markUpdated(places, host, raised(app.version));
  process.stdout.write(`${app.name ?? host} is now ${raised(app.version)}.\n`);
}

/// Orders: "seconds" for each step, "patience" for the running task, "outcomes" by app, "phase" to stop at (a closing
/// one, or an active one to leave behind as a crash would).
async function updateAll(places, _words, _options, order) {
  const step = order.seconds ?? 1.5;
  const progress = { schemaVersion: 1, pid: process.pid, startedAt: iso(), until: settleTimes('+95m', new Date()), apps: [] };
  const show = (phase, more = {}) => placeJson(places.progress, Object.assign(progress, { current: undefined, waitingFor: undefined }, { phase }, more));
  const tasks = () => readJson(places.status, {}).running?.length ?? 0;
  for (const began = Date.now(); tasks() > 0 || order.phase === 'waiting';) {
    show('waiting', { waitingFor: tasks() });
    if (order.phase === 'waiting') return;
    if (Date.now() - began > (order.patience ?? 20) * 1000) {
      show('busy');
      throw new Refusal('Tasks are still running.');
    }
    await pause(Math.min(step, 1));
  }
  if (order.phase === 'busy') {
    show('busy');
    throw new Refusal('Tasks are still running.');
  }
  for (const [id, host] of [['codex', 'codex'], ['claude', 'claude'], ['cursor', 'cursor'], ['t3', 't3code']]) {
    const app = appNow(places, host);
    if (!app || app.state === 'not_installed' || order.none) continue;
    show('updating', { current: id });
    await pause(step);
    if (order.phase === 'updating') return;
    progress.apps.push(updateOne(places, id, host, app, order.outcomes?.[id]));
  }
  show('checking');
  await pause(step);
  if (order.phase === 'checking') return;
  show('done');
  process.stdout.write('AI apps updated\n');
}

function updateOne(places, id, host, app, ordered) {
  const usual = !app.outdated ? (id === 't3' ? 'no_updater' : 'current') : app.update === 'app' ? 'app' : 'updated';
  const outcome = ordered ?? usual;
  const entry = { app: id, name: app.name, outcome, before: app.version, state: app.state };
  if (outcome === 'updated') {
    entry.after = raised(app.version);
    markUpdated(places, host, entry.after);
  } else if (outcome === 'current') {
    entry.after = app.version;
  } else if (outcome === 'app' && id === 'codex') {
    entry.detail = 'It came with the ChatGPT app.';
  } else if (outcome === 'failed') {
    entry.detail = 'The updater ended with status 1.';
  }
  return entry;
}

async function standardInput() {
  let text = '';
  for await (const piece of process.stdin.setEncoding('utf8')) text += piece;
  return text;
}

/// Orders: "seconds" for the check, "outcome" "failed", "folder" to claim another report folder.
async function reportProblem(places, _words, options, order) {
  const german = options.lang === 'de';
  const note = options['note-stdin'] ? (await standardInput()).trim() : '';
  const app = { codex: 'Codex', claude: 'Claude Code' }[options.app];
  const folder = join(places.reports, iso().replace(/[:.]/g, '-'));
  mkdirSync(folder, { recursive: true, mode: 0o700 });
  const latest = join(places.reports, 'latest.json');
  const record = { state: 'running', app, pid: process.pid, startedAt: iso(), folder: order.folder ?? folder };
  placeJson(latest, record);
  const status = readJson(places.status, {});
  const apps = (status.apps ?? []).map((item) => `- ${item.name ?? item.host}: ${item.state} ${item.version ?? ''}`).join('\n');
  place(join(folder, 'report.md'),
    `# ${german ? 'Bericht' : 'Report'} ${iso()}\n\n${german ? 'Notiz' : 'Note'}: ${note || '–'}\n\nKestrelune ${VERSION}, ${status.state ?? '?'}\n\n${apps}\n`);
  await pause(order.seconds ?? 4);
  const ending = { ...record, finishedAt: iso() };
  if (!app || order.outcome === 'failed') {
    const reason = german ? 'Weder Codex noch Claude Code war bereit. Der Bericht liegt trotzdem da.'
      : 'Neither Codex nor Claude Code was ready. The report is there all the same.';
    placeJson(latest, { ...ending, state: 'failed', reason });
    throw new Refusal(reason);
  }
  const answer = german
    ? 'Kestrelune läuft und erreicht den Dienst.\nCursor war beim letzten Auftrag abgemeldet; melde dich dort neu an.'
    : 'Kestrelune is running and reaches the service.\nCursor was signed out at the last task; sign in there again.';
  placeJson(latest, { ...ending, state: 'done', answer, open: options.app === 'claude' ? 'claude://chat/problem' : 'codex://threads/problem' });
}

// ---------------------------------------------------------------------------------------------------------------
// Commands that tell something. Orders: "count" tasks with "steps" each, "garbage" instead of an answer.

function printAnswer(answer, order) {
  const text = JSON.stringify(settleTimes(answer, new Date()));
  process.stdout.write(order.garbage ? text.slice(0, Math.max(9, text.length >> 1)) : `${text}\n`);
}

function tasks(places, _words, _options, order) {
  const status = readJson(places.status, {});
  const record = ([task_id, label, title, state, line, from, app, ended_at]) => ({ task_id, label, title, state, line, from, app,
    queued_at: '-4d', ended_at, steps: [{ at: '-4d', line: 'Queued' }, { at: ended_at, line }] });
  const live = (list, state) => (list ?? []).filter((item) => item.task_id).map((item) => ({ ...item, state, from: 'Claude',
    app: item.ball_at ?? 'Codex', steps: [{ at: item.since ?? '-30m', line: 'Taken up by Codex' }, { at: '-90s', line: 'Reading the last ten orders' }] }));
  const made = Array.from({ length: order.count ?? 0 }, (_, n) => ({ ...record([`c${n.toString(16)}`, `#${n}`, `Task number ${n} of many`, 'done',
    `Finished as number ${n}.`, 'ChatGPT', 'Codex', `-${n + 3}h`]), steps: Array.from({ length: order.steps ?? 2 }, (_, step) => ({ at: `-${n + 4}h`, line: `Step ${step}` })) }));
  const history = order.count === undefined ? homeHistory.map(record) : made;
  printAnswer({ tasks: [...live(status.attention, 'needs_you'), ...live(status.running, 'running'), ...live(status.done, 'done'), ...history] }, order);
}

const schedulesNow = (places) => readJson(places.choices, {}).schedules ?? homeSchedules;

function schedule(places, [verb, id]) {
  oneOf(verb, ['pause', 'resume', 'remove'], 'something to do with a schedule');
  choose(places, (choices) => {
    const list = schedulesNow(places);
    if (!list.some((item) => item.schedule_id === id)) throw new Refusal('This schedule is no longer there.');
    const altered = (item) => (verb === 'pause' ? { ...item, paused: true } : { ...item, paused: false, pause_note: undefined });
    choices.schedules = verb === 'remove' ? list.filter((item) => item.schedule_id !== id)
      : list.map((item) => (item.schedule_id === id ? altered(item) : item));
  });
}

async function install(places, _words, options, order) {
  if (!options['in-app']) throw new Refusal('install needs --in-app.', 2);
  process.stdout.write('Looking at this Mac\n');
  await pause(order.seconds ?? 1);
  process.stdout.write('Waiting for “Connect this Mac?” in the browser\n');
  await pause(order.seconds ?? 1);
  mkdirSync(places.runner, { recursive: true, mode: 0o700 });
  place(places.marker, '');
  rmSync(join(dirname(dirname(places.runner)), 'Library/LaunchAgents/com.kestrelune.helper.plist'), { force: true });
  process.stdout.write('This Mac is connected\n');
}

/// Also asked by the build of the file in the tree, which has no root and so no orders.
async function version(options) {
  const root = rootIfAny(options);
  const order = root ? orderFor(new Places(join(root, 'runner')), 'version') : {};
  await obey(order);
  process.stdout.write(`${order.version ?? VERSION}\n`);
}

const commands = {
  install,
  switch: switchPower,
  workers,
  profile,
  schedule,
  tasks,
  'share-tools': shareTools,
  'update-app': updateApp,
  'update-all': updateAll,
  'report-problem': reportProblem,
  schedules: (places, _words, _options, order) => printAnswer({ schedules: schedulesNow(places) }, order),
  'small-model': (places, [word]) => placeJson(places.smallModel, { schemaVersion: 1, enabled: onOff(word) }),
  'auto-delegate': (places, [word]) => choose(places, (choices) => Object.assign(choices, { autoDelegate: onOff(word) })),
};

const valued = ['root', 'status', 'seconds', 'lang', 'app'];
const flags = ['service', 'quiet', 'in-app', 'json', 'note-stdin'];

/// Splits "--name value" and "--name" from the other words. A text behind "profile set" is never an option.
function parse(words) {
  const options = {};
  const plain = [];
  for (let i = 0; i < words.length; i += 1) {
    const name = words[i].startsWith('--') && !(plain[0] === 'profile' && plain.length === 3) ? words[i].slice(2) : '';
    if (valued.includes(name) && i + 1 < words.length) options[name] = words[(i += 1)];
    else if (flags.includes(name)) options[name] = true;
    else if (name) throw new Refusal(`unknown option --${name}`, 2);
    else plain.push(words[i]);
  }
  if (options.seconds !== undefined) options.seconds = Number(options.seconds);
  return { options, plain };
}

async function main() {
  const { options, plain } = parse(process.argv.slice(2));
  const [command, ...words] = plain;
  if (command === 'run') return run(options, words);
  if (command === 'version') return version(options);
  if (!commands[command]) throw new Refusal(`usage: run | version | ${Object.keys(commands).join(' | ')}`, 2);
  const places = new Places(join(helperRoot(options), 'runner'));
  const order = orderFor(places, command);
  await obey(order);
  return commands[command](places, words, options, order);
}

main().catch((error) => {
  process.stderr.write(`${error instanceof Refusal ? error.message : error.stack}\n`);
  process.exitCode = error.code && Number.isInteger(error.code) ? error.code : 1;
});
