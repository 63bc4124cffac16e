#!/usr/bin/env python3
"""vesk-to-clickhouse between a rsyslog and a store that are played here: no line holds up the others,
none is lost without a word, and a batch is answered with OK only if the store has it."""

import http.server
import json
import subprocess
import sys
import tempfile
import threading
from pathlib import Path

PROGRAM = Path(__file__).resolve().parents[2] / 'packaging/fleet/events/vesk-to-clickhouse'
EVENT = {'host': 'a', 'sequence': 1, 'time': None, 'time_raw': 7, 'class': 'adapter', 'class_code': 0,
         'code': 2001, 'severity': 'info', 'severity_code': 2, 'device_id': 0, 'message': 'Started'}


def line(**changes):
    return json.dumps({**EVENT, **changes}).encode()


# What comes in, and what the store is to get of it.
TAKEN = [
    (line(), {}),
    (line(severity=None, severity_code=255, message=None), {'severity': None, 'severity_code': 255,
                                                            'message': None}),
    (line(message='HERE').replace(b'HERE', b'\xff\xfe'), {'message': '\ufffd\ufffd'}),
    (line(message='\ud800'), {'message': '?'}),
    (line(message='"\\\0\n'), {'message': '"\\\0\n'}),
    (line(sequence=2 ** 32 - 1), {'sequence': 2 ** 32 - 1}),
    (line(unknown={'deep': [1]}), {}),
]
REFUSED = [b'no JSON', b'[1]', b'{}', b'"COMMIT"', b'{"a":' * 20000, line(sequence='x'), line(sequence=-1),
           line(sequence=True), line(time_raw=2 ** 32), line(severity_code=256), line(device_id=65536),
           line(host=None), line(host={'name': 5}), line(message=['a']), line(code=9 ** 4400)]


class Store(http.server.BaseHTTPRequestHandler):
    bodies = []
    answers = []  # of the next requests: a status, or bytes that are no answer

    def do_POST(self):
        body = self.rfile.read(int(self.headers['Content-Length']))
        answer = self.answers.pop(0)
        if isinstance(answer, bytes):
            self.wfile.write(answer)
            self.close_connection = True
            return
        if answer == 200:
            self.bodies.append(body)
        self.send_response(answer)
        self.end_headers()
        self.wfile.write(b'' if answer == 200 else b'the table\nis \xff full')

    def log_message(self, *words):
        pass


def expect(found, wanted):
    if found != wanted:
        sys.exit(f'found  {found}\nwanted {wanted}')


class Program:
    def __init__(self, port):
        self.errors = tempfile.TemporaryFile()
        self.process = subprocess.Popen([PROGRAM, f'http://127.0.0.1:{port}', '0'], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=self.errors)
        expect(self.process.stdout.readline(), b'OK\n')

    def send(self, text):
        self.process.stdin.write(text + b'\n')
        self.process.stdin.flush()
        return self.process.stdout.readline().decode().strip()

    def batch(self, lines):
        """The answer to COMMIT."""
        expect(self.send(b'BEGIN'), 'OK')
        for text in lines:
            expect(self.send(text), 'DEFER_COMMIT')
        return self.send(b'COMMIT')

    def end(self):
        """What it wrote to standard error."""
        self.process.communicate(timeout=30)
        expect(self.process.returncode, 0)
        self.errors.seek(0)
        return self.errors.read().decode(errors='replace').splitlines()


def check_lines(port):
    Store.answers = [200]
    program = Program(port)
    expect(program.batch([text for text, _ in TAKEN] + REFUSED), 'OK')
    columns = [name for name in EVENT if name not in ('time', 'class_code')]
    expect([json.loads(row) for row in Store.bodies.pop().decode().splitlines()],
           [{name: {**EVENT, **changes}[name] for name in columns} for _, changes in TAKEN])
    told = program.end()
    expect(len(told), len(REFUSED))
    for report, text in zip(told, REFUSED):
        expect(report.endswith(': ' + text.decode()), True)


def check_failures(port):
    """Each is answered with its reason, the batch comes again, and what was refused is told once."""
    failures = [(500, 'the table is \ufffd full'), (500, 'the table is \ufffd full'), (b'garbage\r\n\r\n', 'BadStatusLine'),
                (b'', 'RemoteDisconnected'),
                (b'HTTP/1.1 500 no\r\nContent-Length: 9\r\n\r\ncut', 'IncompleteRead')]
    Store.answers = [answer for answer, _ in failures] + [200]
    program = Program(port)
    for _, reason in failures:
        answer = program.batch([line(), b'[1]'])
        if reason not in answer or answer in ('OK', 'DEFER_COMMIT'):
            sys.exit(f'a failed insert is answered with {answer}')
    expect(program.batch([line(), b'[1]']), 'OK')
    expect(program.batch([b'[1]']), 'OK')  # nothing to insert
    told = program.end()  # a reason that stays is told once
    expect(len(told), len(failures) - 1 + 2)
    expect(len(Store.bodies), 1)


def main():
    with http.server.ThreadingHTTPServer(('127.0.0.1', 0), Store) as server:
        threading.Thread(target=server.serve_forever, daemon=True).start()
        check_lines(server.server_address[1])
        check_failures(server.server_address[1])
        server.shutdown()


main()
