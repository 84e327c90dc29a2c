// Asks a strict validator, and the JSON language service of an editor, about launch lists:
//
//   node ask.js NODE_MODULES SCHEMA <lists.json
//
// Reads an array of texts, in each of which "|" may mark the cursor. Prints an array of
// objects: what the validator finds ("errors"; not there if the text is no JSON), what the
// editor marks ("problems"), shows at the cursor ("hover") and offers there ("completions"),
// and where it looks for schemas ("schemas").

'use strict';

const fs = require('fs');
const path = require('path');

const [modules, schemaFile] = process.argv.slice(2);
const Ajv = require(path.join(modules, 'ajv/dist/2020')).default;
const service = require(path.join(modules, 'vscode-json-languageservice'));
const schema = fs.readFileSync(schemaFile, 'utf8');
const validate = new Ajv({ strict: true, allErrors: true }).compile(JSON.parse(schema));

function errorsOf(text) {
    try {
        return validate(JSON.parse(text)) ? [] : validate.errors.map((error) => error.message);
    } catch (error) {
        return undefined;
    }
}

async function ask(list) {
    const schemas = [];
    const editor = service.getLanguageService({
        schemaRequestService: async (uri) => {
            schemas.push(uri);
            return schema;
        },
    });
    const text = list.replace('|', '');
    const document = service.TextDocument.create('file:///list.json', 'json', 1, text);
    const position = document.positionAt(Math.max(list.indexOf('|'), 0));
    const root = editor.parseJSONDocument(document);
    const problems = await editor.doValidation(document, root);
    const hover = await editor.doHover(document, position, root);
    const completions = await editor.doComplete(document, position, root);
    return {
        errors: errorsOf(text),
        problems: problems.map((problem) => problem.message),
        hover: hover === null ? '' : [hover.contents].flat().join('\n'),
        completions: completions.items.map((completion) => completion.label).sort(),
        schemas,
    };
}

Promise.all(JSON.parse(fs.readFileSync(0, 'utf8')).map(ask))
    .then((answers) => console.log(JSON.stringify(answers)));
