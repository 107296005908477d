# Locust's FastHttpUser doing what the webstep folders do: GET of one path
# (LOAD_PATH, /api.json or /page.html) again and again, no wait between.
import os

from locust import constant, task
from locust.contrib.fasthttp import FastHttpUser

PATH = os.environ.get("LOAD_PATH", "/api.json")


class Get(FastHttpUser):
    wait_time = constant(0)

    @task
    def get(self):
        self.client.get(PATH)
