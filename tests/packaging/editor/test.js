// Tests the JSON Schema of launch lists with a strict validator, and in the JSON language
// service of an editor:
//
//   node test.js NODE_MODULES SCHEMA PAGE EXAMPLE...
//
// PAGE shows the line of a list that tells an editor where the schema is.

'use strict';

const assert = require('assert');
const fs = require('fs');
const path = require('path');

const [modules, schemaFile, page, ...examples] = process.argv.slice(2)
    .map((name) => path.resolve(name));
const Ajv = require(path.join(modules, 'ajv/dist/2020')).default;
const service = require(path.join(modules, 'vscode-json-languageservice'));
const schema = JSON.parse(fs.readFileSync(schemaFile, 'utf8'));

const [line, schemaUri] = fs.readFileSync(page, 'utf8').match(/"\$schema": "(.*)",\n/);
const item = '{ "name": "steady", "program": "/bin/sleep", "argc": 1, "args": { "0": "9" } }';

// The editor reads a schema where the list says that it is.
const editor = service.getLanguageService({
    schemaRequestService: async (asked) => {
        assert.strictEqual(asked, schemaUri);
        assert.strictEqual(asked, 'file:///usr/share/tamlin/launch-list.schema.json');
        return JSON.stringify(schema);
    },
});

// Opens the text of a list, with the line that names the schema. "|" is the cursor.
function open(list) {
    const text = list.replace('{', `{ ${line}`);
    const cursor = text.indexOf('|');
    const document = service.TextDocument.create('file:///list.json', 'json', 1, text.replace('|', ''));
    return {
        document,
        position: document.positionAt(Math.max(cursor, 0)),
        root: editor.parseJSONDocument(document),
    };
}

async function problems(list) {
    const { document, root } = open(list);
    const found = await editor.doValidation(document, root);
    return found.map((problem) => problem.message);
}

async function hover(list) {
    const { document, position, root } = open(list);
    const shown = await editor.doHover(document, position, root);
    return shown === null ? '' : [shown.contents].flat().join('\n');
}

async function completions(list) {
    const { document, position, root } = open(list);
    const found = await editor.doComplete(document, position, root);
    return found.items.map((completion) => completion.label).sort();
}

const checks = {
    'the strict validator takes the schema and the examples'() {
        const validate = new Ajv({ strict: true, allErrors: true }).compile(schema);
        assert.notStrictEqual(examples.length, 0);
        for (const example of examples) {
            const valid = validate(JSON.parse(fs.readFileSync(example, 'utf8')));
            assert.ok(valid, `${example}: ${JSON.stringify(validate.errors)}`);
        }
        for (const text of ['{}', `{ "1": ${item} }`, '{ "$schema": "a" }']) {
            assert.ok(!validate(JSON.parse(text)), `${text} is valid`);
            assert.match(JSON.stringify(validate.errors), /must have required property '0'/);
        }
    },

    async 'an editor finds nothing wrong with a right list'() {
        assert.deepStrictEqual(await problems(`{ "0": ${item} }`), []);
        for (const example of examples) {
            assert.deepStrictEqual(await problems(fs.readFileSync(example, 'utf8')), []);
        }
    },

    async 'an editor says what is wrong with a list'() {
        assert.deepStrictEqual(await problems('{ "1": { "name": "a", "program": "/a" } }'),
            ['Missing property "0".']);
        assert.deepStrictEqual(await problems('{ "0": { "name": "a" } }'),
            ['Missing property "program".']);
        assert.deepStrictEqual(await problems('{ "0": { "name": "a", "program": "/a", "argc": "1" } }'),
            ['Incorrect type. Expected "integer".']);
        assert.strictEqual((await problems('{ "0": { "name": "a", "program": "a" } }')).length, 1);
        assert.strictEqual((await problems(`{ "0": ${item}, "01": ${item} }`)).length, 1);
    },

    async 'an editor explains a member under the cursor'() {
        const members = schema.$defs.item.properties;
        for (const name of ['name', 'program', 'argc', 'args']) {
            const list = `{ "0": ${item} }`.replace(`"${name}"`, `"${name}|"`);
            const plain = (text) => text.replace(/[^\w ]/g, '');
            assert.strictEqual(plain(await hover(list)), plain(members[name].description));
        }
        assert.match(await hover(`{ "0|": ${item} }`), /A program to keep running/);
        assert.match(await hover(`{ "0": ${item}, "12|": ${item} }`), /A program to keep running/);
    },

    async 'an editor completes the members of an item'() {
        assert.deepStrictEqual(await completions('{ "0": { | } }'),
            ['argc', 'args', 'name', 'program']);
        assert.deepStrictEqual(await completions('{ "7": { "name": "a", | } }'),
            ['argc', 'args', 'program']);
        assert.deepStrictEqual(await completions('{ | }'), ['0']);
    },
};

async function main() {
    let failures = 0;
    for (const [words, check] of Object.entries(checks)) {
        try {
            await check();
            console.log(`passed: ${words}`);
        } catch (error) {
            console.log(`FAILED: ${words}: ${error.message}`);
            failures += 1;
        }
    }
    console.log(`${failures} failed`);
    process.exitCode = failures === 0 ? 0 : 1;
}

main();
