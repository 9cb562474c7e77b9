"""A PostgreSQL server of the test's own: on a socket in its folder, as the user postgres where the
test is root, which may not run one."""
import contextlib
import os
import pathlib
import shutil
import subprocess
import tempfile

# Folders of the programs of each version that has PostGIS.
PROGRAMS = sorted(path for path in pathlib.Path("/usr/lib/postgresql").glob("*/bin") if pathlib.Path(
    f"/usr/share/postgresql/{path.parent.name}/extension/postgis.control").exists())


@contextlib.contextmanager
def server():
    """Yields the folder of the socket, in which a database `survey` with PostGIS waits."""
    root = os.geteuid() == 0
    folder = tempfile.mkdtemp(prefix="tavo-pg-")
    words = ["runuser", "-u", "postgres", "--"] if root else []
    # Stops the server and removes its folder when its own input ends, as it does when the test is killed, too.
    keeper = subprocess.Popen(["sh", "-c", 'cat; "$@"; rm -rf "$0"', folder, *words, str(PROGRAMS[-1] / "pg_ctl"), "-D",
                               f"{folder}/data", "-m", "immediate", "stop"], cwd=folder, stdin=subprocess.PIPE,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)

    def run(program, *arguments):
        with open(f"{folder}/output", "a+b") as output:
            result = subprocess.run(words + [str(PROGRAMS[-1] / program), *arguments], cwd=folder,
                                    stdin=subprocess.DEVNULL, stdout=output, stderr=output)
            if result.returncode != 0:
                output.seek(0)
                raise RuntimeError(f"{program} failed: {output.read().decode()}")

    try:
        os.chmod(folder, 0o755)
        if root:
            shutil.chown(folder, "postgres")
        run("initdb", "-A", "trust", "--no-sync", "--locale=C", "-E", "UTF8", "-D", f"{folder}/data")
        run("pg_ctl", "-D", f"{folder}/data", "-w", "-l", f"{folder}/log", "-o",
            f"-c listen_addresses='' -c unix_socket_directories='{folder}' -c fsync=off", "start")
        sql(folder, "CREATE DATABASE survey", database="postgres")
        sql(folder, "CREATE EXTENSION postgis")
        yield folder
    finally:
        keeper.communicate()


def sql(folder, statement, database="survey"):
    """The rows of a statement's result, their values as texts."""
    result = subprocess.run(["psql", "-h", folder, "-U", "postgres", "-d", database, "-AtqX", "-v",
                             "ON_ERROR_STOP=1", "-F", "\t", "-c", statement], text=True,
                            capture_output=True)
    if result.returncode != 0:
        raise RuntimeError(result.stderr)
    return [line.split("\t") for line in result.stdout.splitlines()]
