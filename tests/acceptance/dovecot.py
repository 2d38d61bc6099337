"""A real POP3 server, Debian's Dovecot, on port 110 of a loopback address of its own."""

import os
import pathlib
import pwd
import shutil
import socket
import subprocess
import tempfile

import kova

# Own addresses, so that a mail server of this machine and a second run of the test are not in the way.
NUMBER = os.getpid() % 250 + 1
MAIL_ADDRESS = f"127.0.110.{NUMBER}"
PASSWORD = "right password"

CONFIG = """
base_dir = {folder}/run
state_dir = {folder}/state
log_path = {folder}/dovecot.log
listen = {address}
protocols = pop3
ssl = no
disable_plaintext_auth = no
auth_failure_delay = 0
mail_location = maildir:{folder}/mail/%u
mail_uid = {uid}
mail_gid = {gid}
first_valid_uid = 1
service pop3-login {{
  chroot =
  inet_listener pop3s {{
    port = 0
  }}
}}
service anvil {{
  chroot =
}}
service stats {{
  chroot =
}}
passdb {{
  driver = passwd-file
  args = scheme=PLAIN {folder}/users
}}
userdb {{
  driver = static
  args = uid={uid} gid={gid} home={folder}/mail/%u
}}
"""


def skip_reason():
    if os.geteuid() != 0:
        return "not root, so nothing can be started on port 110"
    if not shutil.which("dovecot") or not os.path.exists("/usr/lib/dovecot/pop3"):
        return "dovecot-pop3d is not installed"
    return None


class Dovecot:
    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kova-dovecot-"))
        self.folder.chmod(0o755)
        self.owner = pwd.getpwnam("mail")
        (self.folder / "state").mkdir()
        (self.folder / "mail").mkdir()
        os.chown(self.folder / "mail", self.owner.pw_uid, self.owner.pw_gid)
        (self.folder / "users").write_text("")
        (self.folder / "users").chmod(0o644)
        config = self.folder / "dovecot.conf"
        config.write_text(CONFIG.format(folder=self.folder, address=MAIL_ADDRESS, uid=self.owner.pw_uid,
                                        gid=self.owner.pw_gid))
        with open(self.folder / "errors", "wb") as errors:
            self.process = subprocess.Popen(["dovecot", "-F", "-c", str(config)], stdin=subprocess.DEVNULL,
                                            stdout=subprocess.DEVNULL, stderr=errors)
        kova.wait_until(self.answers, "Dovecot")

    def answers(self):
        if self.process.poll() is not None:
            log = self.folder / "dovecot.log"
            raise AssertionError((self.folder / "errors").read_text() + (log.read_text() if log.exists() else ""))
        try:
            with socket.create_connection((MAIL_ADDRESS, 110), 5) as client:
                return client.recv(100).startswith(b"+OK")
        except OSError:
            return False

    def add_mailbox(self, user, mails):
        with open(self.folder / "users", "a") as users:
            users.write(f"{user}:{{PLAIN}}{PASSWORD}\n")
        box = self.folder / "mail" / user
        for part in ("cur", "new", "tmp"):
            (box / part).mkdir(parents=True)
        for i, mail in enumerate(mails):
            (box / "cur" / f"{1000000000 + i}.{i}.test:2,").write_bytes(mail)
        subprocess.run(["chown", "-R", f"{self.owner.pw_uid}:{self.owner.pw_gid}", str(box)], check=True)

    def state_of(self, user):
        box = self.folder / "mail" / user
        return sorted((f.name, f.read_bytes()) for part in ("cur", "new") for f in (box / part).iterdir())

    def stop(self):
        self.process.terminate()
        try:
            self.process.wait(kova.PATIENCE)
        finally:
            shutil.rmtree(self.folder, ignore_errors=True)
