/** The page that a program serves, which also makes its pictures. */
import { HttpClient } from "./api/http";
import { start } from "./start";

start(new HttpClient());
