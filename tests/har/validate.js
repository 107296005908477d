#!/usr/bin/env node
// Checks a HAR file: the HAR 1.2 schema (har-validator), then what the schema
// does not say: each entry's time is the sum of its timings (ssl is part of
// connect; -1 means not measured) and its startedDateTime is a real date.
// Exit status: 0 valid, 1 invalid (the reasons on stderr), 2 cannot check.
'use strict';
const fs = require('fs');
const path = require('path');

const file = process.argv[2];
if (!file) {
  console.error('usage: node validate.js FILE.har');
  process.exit(2);
}

let validator;
try {
  validator = require('har-validator');
} catch (e) {
  console.error('har-validator is not installed: run "npm ci" in ' + __dirname);
  process.exit(2);
}

let data;
try {
  data = JSON.parse(fs.readFileSync(file, 'utf8'));
} catch (e) {
  console.error(path.basename(file) + ': not JSON: ' + e.message);
  process.exit(1);
}

function consistency(har) {
  const problems = [];
  har.log.entries.forEach((entry, i) => {
    const t = entry.timings;
    let sum = 0;
    for (const phase of ['blocked', 'dns', 'connect', 'send', 'wait', 'receive'])
      if (typeof t[phase] === 'number' && t[phase] > 0) sum += t[phase];
    // Each number is written with three decimals.
    if (Math.abs(sum - entry.time) > 0.01)
      problems.push(`entries[${i}]: time ${entry.time} is not the sum of its timings (${sum})`);
    if (t.ssl > 0 && !(t.connect >= t.ssl))
      problems.push(`entries[${i}]: ssl ${t.ssl} is longer than connect ${t.connect}`);
    if (Number.isNaN(Date.parse(entry.startedDateTime)))
      problems.push(`entries[${i}]: startedDateTime "${entry.startedDateTime}" is not a date`);
  });
  return problems;
}

validator.har(data).then(() => {
  const problems = consistency(data);
  if (problems.length) {
    problems.forEach((p) => console.error(p));
    process.exit(1);
  }
  console.log(`valid HAR ${data.log.version}: ${data.log.entries.length} entries`);
}).catch((error) => {
  if (error && error.errors) {
    for (const e of error.errors)
      console.error(`${e.dataPath || '(root)'}: ${e.message}` +
                    (e.params ? ' ' + JSON.stringify(e.params) : ''));
  } else {
    console.error(String(error));
  }
  process.exit(1);
});
