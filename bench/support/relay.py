"""Stands between clients and a server on 127.0.0.1, as a long line does: relay.py PORT MILLISECONDS

prints its own port, and passes on what comes, each way so much later, in order and whole. Each line of its input is
answered with one:

    sent      the bytes that have gone towards clients since the last such question
    cut N     the connection on which the Nth byte from now goes towards a client is closed behind it; answers then
    hold N    the same, but it falls silent and stays open until the client goes

Ends when its input ends.
"""

import asyncio
import os
import sys

PIECES = 64  # of 64 KiB, under way at most in each direction of a connection


class Relay:
    def __init__(self, port, delay):
        self.port, self.delay = port, delay
        self.sent = 0
        self.limit = None  # of self.sent
        self.limit_name = None

    async def serve(self, from_client, to_client):
        try:
            from_server, to_server = await asyncio.open_connection("127.0.0.1", self.port)
        except OSError:
            return to_client.close()
        up = asyncio.create_task(self.pass_on(from_client, lambda data: self.write(to_server, data)))
        down = asyncio.create_task(self.pass_on(from_server, lambda data: self.answer(to_client, data)))
        # Whichever end goes first takes the other with it.
        await asyncio.wait([up, down], return_when=asyncio.FIRST_COMPLETED)
        for task in up, down:
            task.cancel()
        for writer in to_server, to_client:
            writer.close()

    async def pass_on(self, reader, write):
        under_way = asyncio.Queue(PIECES)

        async def read():
            data = True
            while data:
                try:
                    data = await reader.read(65536)
                except OSError:
                    data = b""  # that end has gone
                await under_way.put((asyncio.get_running_loop().time() + self.delay, data))

        reading = asyncio.create_task(read())
        try:
            while True:
                due, data = await under_way.get()
                await asyncio.sleep(due - asyncio.get_running_loop().time())
                if not data or not await write(data):
                    return
        except OSError:
            pass  # the other end has gone
        finally:
            reading.cancel()

    async def write(self, writer, data):
        writer.write(data)
        await writer.drain()
        return True

    async def answer(self, writer, data):
        if self.limit is None or self.sent + len(data) < self.limit:
            self.sent += len(data)
            return await self.write(writer, data)
        data, name = data[:self.limit - self.sent], self.limit_name
        self.sent, self.limit = self.limit, None
        await self.write(writer, data)
        print(name, flush=True)
        if name == "hold":
            await asyncio.Event().wait()
        return False

    def obey(self, line):
        name, _, number = line.strip().partition(" ")
        if name == "sent":
            print(self.sent, flush=True)
            self.sent = 0
        else:
            self.limit, self.limit_name = self.sent + int(number), name


async def main():
    relay = Relay(int(sys.argv[1]), int(sys.argv[2]) / 1000)
    server = await asyncio.start_server(relay.serve, "127.0.0.1", 0, backlog=256)
    print(server.sockets[0].getsockname()[1], flush=True)
    orders = asyncio.StreamReader()
    await asyncio.get_running_loop().connect_read_pipe(lambda: asyncio.StreamReaderProtocol(orders), sys.stdin)
    while line := await orders.readline():
        relay.obey(line.decode())
    os._exit(0)  # whatever is still connected


asyncio.run(main())
